#include "state_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "values/failure.h"

namespace quillmere::app {
namespace {

constexpr std::size_t kLargest = 8U << 20U;  // bytes, some 100,000 workflows
constexpr int kDeepest = 100;
constexpr std::string_view kBlank = " \t\n\r";

bool isBlank(const std::string& text) {
  return text.find_first_not_of(kBlank) == std::string::npos;
}

std::string entryText(const StateEntry& workflow) {
  return R"({"id": ")" + workflow.id + R"(", "name": ")" + workflow.name + "\"}";
}

// The blanks that end at `at`.
std::string blanksBefore(const std::string& text, std::size_t at) {
  const std::size_t before = at == 0 ? std::string::npos : text.find_last_not_of(kBlank, at - 1);
  const std::size_t begin = before == std::string::npos ? 0 : before + 1;
  return text.substr(begin, at - begin);
}

// The blanks with which the line that holds `at` begins; a line feed before them, when there is a line before it.
std::string lineBegin(const std::string& text, std::size_t at) {
  const std::size_t feed = text.rfind('\n', at);
  if (feed == std::string::npos) return {};
  const std::size_t end = text.find_first_not_of(" \t", feed + 1);
  return text.substr(feed, std::min(end, text.size()) - feed);
}

}  // namespace

StateText::StateText(std::string text, std::filesystem::path file) : text_(std::move(text)), file_(std::move(file)) {
  if (text_.size() > kLargest) refuse("it is larger than 8 MiB");
  if (isBlank(text_)) return;
  using Json = nlohmann::json;
  const auto check = [this](int depth, Json::parse_event_t, const Json&) {
    if (depth > kDeepest) refuse("it is nested more than 100 deep");
    return false;  // nothing is kept
  };
  try {
    [[maybe_unused]] const Json nothing = Json::parse(text_, check);
  } catch (const Json::parse_error& error) {
    refuse("it is no JSON in UTF-8 from byte " + std::to_string(error.byte) + " on");
  } catch (const Json::out_of_range&) {
    refuse("it holds a number that is too large");
  }
  outline_ = outlineOf(text_);
}

std::vector<StateEntry> StateText::listed() const {
  std::vector<StateEntry> list;
  list.reserve(entries().size());
  for (const EntrySpan& entry : entries()) list.push_back({entry.id, entry.name});
  return list;
}

std::string StateText::withAdded(const StateEntry& workflow) const {
  const std::string entry = entryText(workflow);
  if (isBlank(text_)) return "{\n  \"workflows\": [\n    " + entry + "\n  ]\n}\n";
  const StateList* const list = listToAddTo();
  return list ? withAddedTo(*list, entry) : withNewList(entry);
}

std::string StateText::withName(std::size_t index, const std::string& name) const {
  const Span old = entries()[index].nameText;
  return std::string(text_).replace(old.begin, old.end - old.begin, name);
}

std::string StateText::without(std::size_t index) const {
  requireElement(index);
  Span gone = entries()[index].object;
  const std::size_t behind = text_.find_first_not_of(kBlank, gone.end);
  const std::size_t before = text_.find_last_not_of(kBlank, gone.begin - 1);
  if (text_[behind] == ',') {
    gone.end = text_.find_first_not_of(kBlank, behind + 1);
  } else if (text_[before] == ',') {
    gone.begin = before;
  } else {  // the only element
    gone = {before + 1, behind};
  }
  return std::string(text_).erase(gone.begin, gone.end - gone.begin);
}

std::string StateText::withMoved(std::size_t from, std::size_t to) const {
  const std::size_t first = std::min(from, to), last = std::max(from, to);
  std::vector<std::string> objects;
  for (std::size_t at = first; at <= last; ++at) {
    requireElement(at);
    if (entries()[at].list != entries()[first].list) refuse("its workflows stand in several lists");
    objects.push_back(text_.substr(entries()[at].object.begin, entries()[at].object.end - entries()[at].object.begin));
  }
  std::rotate(objects.begin(), from < to ? objects.begin() + 1 : objects.end() - 1, objects.end());
  std::string moved = text_.substr(0, entries()[first].object.begin);
  for (std::size_t at = first; at <= last; ++at) {  // what stands between the objects stays there
    const std::size_t end = entries()[at].object.end;
    moved += objects[at - first] + text_.substr(end, (at < last ? entries()[at + 1].object.begin : text_.size()) - end);
  }
  return moved;
}

void StateText::refuse(const std::string& why) const {
  throw Failure(ExitStatus::Failed, "workflow list '" + file_.string() + "'", why,
                "change it with the program that has written it");
}

void StateText::requireElement(std::size_t index) const {
  if (entries()[index].list == kNowhere) refuse("its workflow '" + entries()[index].name + "' is no element of a list");
}

// None when the root is an object to which a list can be added.
const StateList* StateText::listToAddTo() const {
  const auto chosen = [this](const auto& isIt) {
    const auto found = std::find_if(outline_.lists.begin(), outline_.lists.end(), isIt);
    return found == outline_.lists.end() ? nullptr : &*found;
  };
  const StateList* list = chosen([](const StateList& one) { return one.workflows; });
  if (!list && !entries().empty()) {
    requireElement(entries().size() - 1);
    list = chosen([this](const StateList& one) { return one.array.begin == entries().back().list; });
  }
  if (!list) list = chosen([this](const StateList& one) { return one.array.begin == outline_.root.begin; });
  if (list && list->foreign) refuse("its list holds workflows in a form that the effect doesn't read");
  if (list) return list;
  if (outline_.rootHasWorkflows) refuse("its \"workflows\" are no list");
  if (outline_.root.end == 0) refuse("it is neither an object nor a list");
  return nullptr;
}

std::string StateText::withAddedTo(const StateList& list, const std::string& entry) const {
  const std::size_t close = list.array.end - 1;
  if (list.last == kNowhere) {
    const std::string line = lineBegin(text_, list.array.begin);
    const std::string inside = line.empty() ? entry : line + "  " + entry + line;
    return std::string(text_).replace(list.array.begin + 1, close - list.array.begin - 1, inside);
  }
  const std::size_t end = text_.find_last_not_of(kBlank, close - 1) + 1;
  return std::string(text_).insert(end, "," + blanksBefore(text_, list.last) + entry);
}

std::string StateText::withNewList(const std::string& entry) const {
  const std::size_t close = outline_.root.end - 1;
  const std::string list = "\"workflows\": [" + entry + "]";
  if (outline_.lastKey == kNowhere) {
    return std::string(text_).replace(outline_.root.begin + 1, close - outline_.root.begin - 1, "\n  " + list + "\n");
  }
  const std::size_t end = text_.find_last_not_of(kBlank, close - 1) + 1;
  return std::string(text_).insert(end, "," + blanksBefore(text_, outline_.lastKey) + list);
}

}  // namespace quillmere::app
