#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <sstream>

#include "base/utf8.h"
#include "commands.h"
#include "effect/effect_session.h"
#include "options.h"
#include "report/output.h"
#include "report/terminal_line.h"

namespace quillmere::app {
namespace {

using Kind = Parameter::Kind;

struct Options {
  SceneOptions scene;
  EffectOptions effect;
  SessionOptions session;
  bool json = false;
};

// A parameter with what the panel shows of it now.
struct PanelRow {
  struct Choice {
    Json value;
    std::string text;
  };

  Parameter parameter;
  Json value;                   // true or false, a number, a text; a camera's name, or null for none
  bool enabled = true;          // false: greyed out
  std::vector<Choice> choices;  // of a menu, or the cameras that a link can take
  std::string note;             // what the value alone doesn't tell; mostly empty
};

std::vector<PanelRow::Choice> choicesOf(const Parameter& parameter, const host::Document& document) {
  std::vector<PanelRow::Choice> choices;
  for (const auto& [value, text] : parameter.choices) choices.push_back({value, text});
  if (parameter.kind != Parameter::Kind::Camera) return choices;
  for (const host::Document::Camera& camera : document.cameras()) choices.push_back({camera.name, camera.name});
  return choices;
}

// The menu says "None" as well where a workflow is kept that it doesn't hold.
std::string noteOf(const Parameter& parameter, const NodeParameters& node) {
  const std::string file = node.text(QUILLMERE_WORKFLOW_PATH), id = node.text(QUILLMERE_WORKFLOW_ID);
  if (parameter.id != QUILLMERE_WORKFLOW || node.number(QUILLMERE_WORKFLOW) != 0 || file.empty()) return {};
  return (id.empty() ? "" : "'" + id + "' is not in the catalog; ") + "renders with " + file;
}

// From the top, group by group.
std::vector<PanelRow> panelRows(const NodeParameters& node, const host::Document& document) {
  std::vector<PanelRow> rows;
  for (const Parameter& parameter : node.panel()) {
    rows.push_back({parameter, node.shown(parameter), node.editable(parameter), choicesOf(parameter, document),
                    noteOf(parameter, node)});
  }
  return rows;
}

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

// As lines of a terminal: group by group the ID, the label and the value, which may go on in the lines below it; menus
// and links list their choices with * before the chosen one.
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

ExitStatus run(const Options& options) {
  host::Events nobody;
  OpenedScene opened;
  if (!options.scene.scene.empty()) opened = openScene(options.scene, {});
  EffectSession session(writeDirectoryOf(options.session), pluginFolder(options.session.plugin), nobody, opened.scene,
                        options.scene.scene);
  printWarnings(session.document().warnings());
  setUpNode(session.node(), session.document(), options.effect, opened.cameras.empty() ? "" : opened.cameras.front());
  const auto rows = panelRows(session.node(), session.document());
  printResult(options.json ? lineOf(panelJson(rows)) : panelTable(rows));
  return ExitStatus::Done;
}

}  // namespace

Action addPanel(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneFile(command, options->scene.scene);
  command.get_option("SCENE")->required(false);
  command.add_flag("--json", options->json, "Print a JSON array of objects instead of a table");
  command.add_option("--camera", options->scene.cameras, "The camera of the scene to choose")
      ->type_name("NAME|N")
      ->expected(1);
  addEffectOptions(command, options->effect);
  addSessionOptions(command, options->session);
  command.footer(
      "* marks the chosen one. Nothing is rendered or kept.\n"
      "Examples:\n"
      "  quillmere panel harbour.glb\n"
      "  quillmere panel harbour.glb --settings dawn.json --set QUILLMERE_GUIDE_MODE=\"Final Render\" --json");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
