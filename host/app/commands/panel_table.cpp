#include "panel_table.h"

#include <algorithm>
#include <sstream>

#include "base/utf8.h"
#include "report/text_cells.h"

namespace quillmere::app {
namespace {

using Json = nlohmann::ordered_json;
using Kind = Parameter::Kind;

std::string labelOf(const PanelRow& row) {
  return printable(row.parameter.label) + (row.enabled ? "" : " (greyed out)");
}

std::vector<std::string> choiceLines(const PanelRow& row) {
  std::vector<std::string> lines;
  for (const auto& [value, text] : row.choices) {
    const std::string number = value.is_number() ? value.dump() + " " : "";
    lines.push_back((value == row.value ? "* " : "  ") + number + printable(text));
  }
  return lines;
}

std::vector<std::string> textLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(printable(line));
  return lines;
}

std::string plainValue(const PanelRow& row) {
  if (row.value.is_boolean()) return row.value.get<bool>() ? "on" : "off";
  if (row.value.is_null()) return "none";
  const auto& [least, most] = std::pair(row.parameter.least, row.parameter.most);
  const std::string limits =
      least && most ? " (from " + std::to_string(*least) + " to " + std::to_string(*most) + ")" : "";
  return row.value.dump() + limits;
}

// At least one.
std::vector<std::string> valueLines(const PanelRow& row) {
  std::vector<std::string> lines;
  if (!row.choices.empty()) {
    lines = choiceLines(row);
    if (row.value.is_null()) lines.insert(lines.begin(), "* none");
  } else if (row.value.is_string()) {
    lines = textLines(row.value.get<std::string>());
  } else {
    lines.push_back(plainValue(row));
  }
  if (!row.note.empty()) lines.push_back("(" + printable(row.note) + ")");
  if (lines.empty()) lines.emplace_back();
  return lines;
}

std::string trimmed(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

const char* typeOf(const Parameter& parameter) {
  switch (parameter.kind) {
    case Kind::Bool:
      return "bool";
    case Kind::Whole:
      return parameter.choices.empty() ? "integer" : "choice";
    case Kind::File:
      return "file";
    case Kind::Camera:
      return "camera";
    case Kind::ReadOnly:
      return "read-only";
    case Kind::Derived:
    case Kind::Text:
      break;
  }
  return "text";
}

Json objectOf(const PanelRow& row) {
  Json object{{"id", row.parameter.id},       {"name", row.parameter.name},    {"label", row.parameter.label},
              {"group", row.parameter.group}, {"type", typeOf(row.parameter)}, {"value", row.value},
              {"enabled", row.enabled},       {"choices", Json::array()}};
  for (const auto& [value, text] : row.choices) object["choices"].push_back({{"value", value}, {"text", text}});
  if (row.parameter.least) object["min"] = *row.parameter.least;
  if (row.parameter.most) object["max"] = *row.parameter.most;
  if (!row.note.empty()) object["note"] = row.note;
  return object;
}

}  // namespace

std::string panelTable(const std::vector<PanelRow>& rows) {
  int widest = 0;
  for (const PanelRow& row : rows) widest = std::max(widest, cellsOf(labelOf(row)));
  std::string table, group;
  for (const PanelRow& row : rows) {
    if (row.parameter.group != group) table += printable(group = row.parameter.group) + "\n";
    const std::string label = labelOf(row);
    std::string left = "  " + std::to_string(row.parameter.id) + "  " + label;
    left.append(static_cast<std::size_t>(widest - cellsOf(label)) + 2, ' ');
    for (const std::string& line : valueLines(row)) {
      table += trimmed(left + line);
      left.assign(static_cast<std::size_t>(cellsOf(left)), ' ');
    }
  }
  return table;
}

Json panelJson(const std::vector<PanelRow>& rows) {
  Json list = Json::array();
  for (const PanelRow& row : rows) list.push_back(objectOf(row));
  return list;
}

}  // namespace quillmere::app
