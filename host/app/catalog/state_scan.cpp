#include "state_scan.h"

#include <optional>

namespace quillmere::app {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// An object or array whose end hasn't been reached.
struct Open {
  std::size_t begin = 0;
  bool object = false;
  bool awaitsValue = false;     // of an object: the next string is no key
  bool awaitsElement = true;    // the next character begins an element or member
  bool workflows = false;       // it is the root's "workflows"
  bool holdsObject = false;     // at any depth
  bool holdsWorkflow = false;   // as an element
  bool foreign = false;         // as in StateList
  std::size_t last = kNowhere;  // where the last element or member begins
  Span key;                     // of an object: the member at hand, between the quotes
  std::optional<Span> id, idOfName, name;
};

class Scan {
 public:
  explicit Scan(std::string_view text) : text_(text) {}

  StateOutline run() {
    for (std::size_t at = text_.starts_with("\xEF\xBB\xBF") ? 3 : 0; at < text_.size(); ++at) at = step(at);
    return std::move(outline_);
  }

 private:
  // Takes in what begins at `at`; returns its last position.
  std::size_t step(std::size_t at) {
    const char c = text_[at];
    if (!open_.empty() && open_.back().awaitsElement && !isBlank(c) && c != ']' && c != '}') {
      open_.back().awaitsElement = false;
      open_.back().last = at;
    }
    if (c == '{' || c == '[') begin(at, c == '{');
    if (c == '}' || c == ']') end(at + 1);
    if (c == '"') return string(at);
    if (c == ':') open_.back().awaitsValue = true;
    if (c == ',') {
      open_.back().awaitsElement = true;
      open_.back().awaitsValue = false;
    }
    return at;
  }

  std::size_t string(std::size_t at) {
    std::size_t close = at + 1;
    while (text_[close] != '"') close += text_[close] == '\\' ? 2 : 1;
    if (open_.empty() || !open_.back().object) return close;
    Open& object = open_.back();
    const Span text{at + 1, close};
    if (!object.awaitsValue) {
      object.key = text;
      if (open_.size() == 1 && textOf(text) == "workflows") outline_.rootHasWorkflows = true;
    } else if (text.begin != text.end) {
      member(object, text);
    }
    return close;
  }

  // Of several, the last name counts, with the last identifier before it.
  void member(Open& object, Span value) {
    if (textOf(object.key) == "id") object.id = value;
    if (textOf(object.key) != "name" || !object.id) return;
    object.idOfName = object.id;
    object.name = value;
  }

  void begin(std::size_t at, bool object) {
    Open opened;
    opened.begin = at;
    opened.object = object;
    opened.workflows = open_.size() == 1 && open_.back().object && textOf(open_.back().key) == "workflows";
    open_.push_back(opened);
  }

  void end(std::size_t at) {
    const Open closed = open_.back();
    open_.pop_back();
    if (closed.object) {
      endObject(closed, at);
    } else if (closed.holdsWorkflow || closed.workflows || open_.empty()) {
      outline_.lists.push_back({{closed.begin, at}, closed.last, closed.workflows, closed.foreign});
    }
    if (!open_.empty()) open_.back().holdsObject |= closed.object || closed.holdsObject;
    if (!open_.empty()) return;
    outline_.root = {closed.begin, at};
    if (closed.object) outline_.lastKey = closed.last;
  }

  void endObject(const Open& closed, std::size_t at) {
    const bool workflow = closed.name && !closed.holdsObject;
    const bool element = !open_.empty() && !open_.back().object;
    if (element) (workflow ? open_.back().holdsWorkflow : open_.back().foreign) = true;
    if (!workflow) return;
    outline_.entries.push_back({upToQuote(*closed.idOfName),
                                upToQuote(*closed.name),
                                {closed.begin, at},
                                *closed.name,
                                element ? open_.back().begin : kNowhere});
  }

  std::string_view textOf(Span span) const { return text_.substr(span.begin, span.end - span.begin); }
  std::string upToQuote(Span span) const {
    const std::string_view text = textOf(span);
    return std::string(text.substr(0, text.find('"')));
  }

  std::string_view text_;
  std::vector<Open> open_;
  StateOutline outline_;
};

}  // namespace

StateOutline outlineOf(std::string_view json) {
  return Scan(json).run();
}

}  // namespace quillmere::app
