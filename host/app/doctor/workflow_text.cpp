#include "workflow_text.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/utf8.h"
#include "helper_check.h"
#include "report/terminal_line.h"

namespace quillmere::app {
namespace {

constexpr std::size_t kMostChoices = 8;  // in a line; there may be hundreds of models
constexpr int kLongestValue = 24;        // columns; it may be a prompt

using Row = std::vector<std::string>;

// Columns as wide as their widest cell, but for the last; what others wrote can't steer a terminal.
std::string aligned(std::vector<Row> rows) {
  std::vector<int> widths;
  for (Row& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t at = 0; at < row.size(); ++at) {
      row[at] = printable(row[at]);
      widths[at] = std::max(widths[at], cellsOf(row[at]));
    }
  }
  std::string text;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t at = 0, before = 0; at < row.size(); ++at) {
      line += std::string(before, ' ') + row[at];
      before = static_cast<std::size_t>(widths[at] - cellsOf(row[at])) + 2;
    }
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

// A node by its number, title and kind, as far as they are told.
std::string nodeOf(const Json& place) {
  const std::string title = textAt(place, "title"), kind = textAt(place, "kind");
  const std::string id = textAt(place, "node");
  std::string node = id.empty() ? "" : "node " + id;
  if (!title.empty()) node += (node.empty() ? "\"" : " \"") + title + "\"";
  if (!kind.empty() && kind != title) node += (node.empty() ? "(" : " (") + kind + ")";
  return node;
}

// One of its inputs.
std::string inputOf(const Json& place) {
  const std::string node = nodeOf(place), input = textAt(place, "input");
  return input + (node.empty() || input.empty() ? "" : " of ") + node;
}

struct Finder {
  const char *how, *words;
};
constexpr std::array kFinders{
    Finder{"marker", "found by its title"},
    Finder{"placeholder", "found by a placeholder"},
    Finder{"shape", "found by the graph itself"},
    Finder{"control", "found as a control"},
};

std::string finderOf(const Json& place) {
  const std::string how = textAt(place, "how");
  const auto found = std::find_if(kFinders.begin(), kFinders.end(), [&](const Finder& one) { return how == one.how; });
  const std::string words = found == kFinders.end() ? how : found->words, marker = textAt(place, "marker");
  return words + (marker.empty() ? "" : "; the title \"" + marker + "\" would go before that");
}

std::vector<std::string> textsAt(const Json& object, const char* key) {
  std::vector<std::string> texts;
  const Json list = object.is_object() ? object.value(key, Json()) : Json();
  for (const Json& member : list.is_array() ? list : Json::array()) {
    if (member.is_string()) texts.push_back(member.get<std::string>());
  }
  return texts;
}

std::string linesOf(const std::vector<std::string>& notes) {
  std::string lines;
  for (const std::string& note : notes) lines += "note: " + printable(note) + "\n";
  return lines;
}

std::string choicesOf(const Json& control) {
  std::string list;
  std::size_t told = 0;
  const Json choices = control.value("choices", Json::array());
  for (const Json& choice : choices.is_array() ? choices : Json::array()) {
    if (++told > kMostChoices) return list + " and " + std::to_string(choices.size() - kMostChoices) + " more";
    list += (list.empty() ? "" : ", ") + (choice.is_string() ? choice.get<std::string>() : choice.dump());
  }
  return list;
}

std::string limitsOf(const Json& control) {
  std::string limits;
  if (control.contains("least")) limits += " from " + control["least"].dump();
  if (control.contains("most")) limits += " to " + control["most"].dump();
  if (control.contains("step")) limits += " in steps of " + control["step"].dump();
  return limits;
}

std::string acceptedBy(const Json& control) {
  const std::string type = textAt(control, "type"), choices = choicesOf(control);
  if (type == "switch") return "true or false";
  if (type == "choice") return "one of " + choices;
  const std::string kind = type == "whole" ? "a whole number" : "a " + type;
  return kind + limitsOf(control) + (choices.empty() ? "" : ", or " + choices);
}

}  // namespace

std::string checkText(const Json& answer) {
  std::vector<Row> rows;
  for (const Json& place : objectsAt(answer, "places")) {
    rows.push_back({textAt(place, "part"), "to " + inputOf(place), finderOf(place)});
  }
  const std::vector<Json> results = objectsAt(answer, "results");
  const auto isFrame = [](const Json& result) { return result.value("frame", Json()) == Json(true); };
  const bool decided = std::any_of(results.begin(), results.end(), isFrame);  // or only the server's order tells
  for (const Json& result : results) {
    const char* becomes = isFrame(result) ? "becomes the frame" : decided ? "kept beside it" : "may become the frame";
    rows.push_back({"result", "from " + nodeOf(result), becomes});
  }
  const Json missing = answer.value("missing", Json());
  for (const std::string& node : textsAt(missing, "nodes")) rows.push_back({"missing", "node " + node});
  for (const Json& file : objectsAt(missing, "files")) {
    rows.push_back({"missing", "file \"" + textAt(file, "value") + "\"", inputOf(file)});
  }
  return aligned(rows) + linesOf(textsAt(answer, "notes"));
}

std::string controlsText(const Json& answer) {
  std::vector<Row> rows;
  std::vector<std::string> notes;
  for (const Json& control : objectsAt(answer, "controls")) {
    const Json value = control.value("default", Json());
    const std::string now = printable(value.is_string() ? value.get<std::string>() : value.dump());
    rows.push_back({textAt(control, "name"), fitted(now, kLongestValue, "..."), acceptedBy(control),
                    nodeOf(control).empty() ? "" : inputOf(control)});
    const std::string note = textAt(control, "note");
    if (!note.empty() && std::find(notes.begin(), notes.end(), note) == notes.end()) notes.push_back(note);
  }
  if (!rows.empty()) return aligned(rows) + linesOf(notes);
  if (answer.value("ok", Json()) != Json(true)) return {};
  return "It has no controls; docs/workflows.md tells how a graph is given some.\n";
}

}  // namespace quillmere::app
