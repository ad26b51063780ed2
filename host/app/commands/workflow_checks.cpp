#include "workflow_checks.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>

#include "base/json.h"
#include "base/utf8.h"
#include "doctor/helper_check.h"
#include "effect/workflow_catalog.h"
#include "process/process_tree.h"
#include "report/output.h"
#include "report/terminal_line.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPatience{120};
constexpr std::size_t kMostChoices = 8;  // in a line; there may be hundreds of models

struct Options {
  SessionOptions session;
  std::string workflow;
  bool json = false;
};

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
      before = static_cast<std::size_t>(widths[at] - cellsOf(row[at]) + 2);
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
  return found == kFinders.end() ? how : found->words;
}

std::vector<std::string> textsAt(const Json& object, const char* key) {
  std::vector<std::string> texts;
  const Json list = object.is_object() ? object.value(key, Json()) : Json();
  for (const Json& member : list.is_array() ? list : Json::array()) {
    if (member.is_string()) texts.push_back(member.get<std::string>());
  }
  return texts;
}

std::string checkText(const Json& answer) {
  std::vector<Row> rows;
  for (const Json& place : objectsAt(answer, "places")) {
    rows.push_back({textAt(place, "part"), "to " + inputOf(place), finderOf(place)});
  }
  for (const Json& result : objectsAt(answer, "results")) {
    const bool frame = result.value("frame", Json()) == Json(true);
    rows.push_back({"result", "from " + nodeOf(result), frame ? "becomes the frame" : "kept beside it"});
  }
  const Json missing = answer.value("missing", Json());
  for (const std::string& node : textsAt(missing, "nodes")) rows.push_back({"missing", "node " + node});
  for (const Json& file : objectsAt(missing, "files")) {
    rows.push_back({"missing", "file \"" + textAt(file, "value") + "\"", inputOf(file)});
  }
  std::string text = aligned(rows);
  for (const std::string& note : textsAt(answer, "notes")) text += "note: " + printable(note) + "\n";
  return text;
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

std::string controlsText(const Json& answer) {
  std::vector<Row> rows;
  for (const Json& control : objectsAt(answer, "controls")) {
    const Json value = control.value("default", Json());
    rows.push_back({textAt(control, "name"), value.is_string() ? value.get<std::string>() : value.dump(),
                    acceptedBy(control), nodeOf(control).empty() ? "" : inputOf(control)});
  }
  if (!rows.empty()) return aligned(rows);
  printError("it has no controls; docs/workflows.md tells how a graph is given some");
  return {};
}

// The file that is meant: a path, or what `render --workflow` takes.
std::string fileOf(const Options& options) {
  std::error_code error;
  if (fs::exists(options.workflow, error)) return options.workflow;
  host::Events nobody;
  EffectSession session(writeDirectoryOf(options.session), pluginFolder(options.session.plugin), nobody);
  chooseWorkflow(session.node(), options.workflow);
  const std::string file = session.node().text(QUILLMERE_WORKFLOW_PATH);
  if (!file.empty()) return file;
  throw Failure(ExitStatus::Usage, "workflow '" + options.workflow + "'", "it means no workflow",
                "name one, or a file");
}

ExitStatus print(const WorkflowCheck& check, const Options& options, std::string (*textOf)(const Json&)) {
  const bool ok = check.finding.state == Finding::State::Ok;
  if (options.json) {
    printResult(lineOf(check.answer));
    return ok ? ExitStatus::Done : ExitStatus::Failed;
  }
  printResult((ok ? printable(check.finding.subject + ": " + check.finding.detail) + "\n" : "") + textOf(check.answer));
  if (ok) return ExitStatus::Done;
  throw Failure(ExitStatus::Failed, check.finding.subject, check.finding.detail, check.finding.remedy);
}

ExitStatus runCheck(const Options& options) {
  adoptOrphans();
  const std::string file = fileOf(options);
  return print(checkWorkflow(pluginFolder(options.session.plugin), options.workflow, file, kPatience), options,
               checkText);
}

ExitStatus runControls(const Options& options) {
  adoptOrphans();
  const WorkflowCheck found = askForControls(pluginFolder(options.session.plugin), fileOf(options), kPatience);
  return print(found, options, controlsText);
}

std::pair<CLI::App*, Action> addLook(CLI::App& workflows, const char* name, const char* summary, const char* footer,
                                     ExitStatus (*run)(const Options&)) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = workflows.add_subcommand(name, summary);
  command->add_option("WORKFLOW", options->workflow, "Workflow file, or its name or ID in the catalog")
      ->required()
      ->type_name("");
  command->add_flag("--json", options->json, "Print a JSON object instead of lines");
  addSessionOptions(*command, options->session);
  command->footer(footer);
  return {command, [options, run] { return run(*options); }};
}

}  // namespace

std::vector<std::pair<CLI::App*, Action>> addWorkflowChecks(CLI::App& workflows) {
  return {addLook(workflows, "check", "Tell where a render would put what into a workflow, and what it lacks",
                  "Nothing is rendered. Exit status 1 when the workflow can't be rendered here and now.\n"
                  "Example:\n  quillmere workflows check depth.json",
                  runCheck),
          addLook(workflows, "controls", "List what render --control can set in a workflow",
                  "Examples:\n  quillmere workflows controls depth.json\n"
                  "  quillmere render harbour.glb --workflow depth.json --control Strength=0.6",
                  runControls)};
}

}  // namespace quillmere::app
