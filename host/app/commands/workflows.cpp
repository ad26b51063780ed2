#include <unistd.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/json.h"
#include "base/utf8.h"
#include "catalog/addition.h"
#include "catalog/changes.h"
#include "commands.h"
#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "options.h"
#include "report/output.h"
#include "workflow_checks.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct Options {
  SessionOptions session;
  bool json = false;
};

// A sub-command of `workflows`, and what it does to the list before that is printed. Throws what main prints.
using WorkflowEdit = std::pair<CLI::App*, std::function<void()>>;

constexpr const char* kWanted = "Identifier, name or number of a workflow, as listed";

WorkflowEdit addAdd(CLI::App& workflows, const SessionOptions& session) {
  struct Given {
    std::string file;
    std::optional<std::string> name, id;
    bool unchecked = false;
  };
  const auto given = std::make_shared<Given>();
  CLI::App* command = workflows.add_subcommand("add", "Copy a workflow file into the list");
  command->add_option("FILE", given->file, "Workflow file")->required()->type_name("");
  command->add_option("--name", given->name, "Name in the menu (default: that of the file)")->type_name("NAME");
  command->add_option("--id", given->id, "Identifier, and name of the copy (default: made from the file's name)")
      ->type_name("ID");
  command->add_flag("--no-check", given->unchecked, "Don't have the helper check the file");
  command->footer("Example:\n  quillmere workflows add ink_wash.json --name \"Ink and Wash\"");
  return {command, [given, &session] {
            const std::string stem = fs::path(given->file).stem().string();
            addWorkflow({given->file,
                         {given->id.value_or(idFrom(stem)), given->name.value_or(stem)},
                         given->unchecked ? Addition::Check::Skipped : Addition::Check::Asked},
                        pluginFolder(session.plugin));
          }};
}

WorkflowEdit addRename(CLI::App& workflows, const SessionOptions& session) {
  const auto wanted = std::make_shared<std::string>(), name = std::make_shared<std::string>();
  CLI::App* command = workflows.add_subcommand("rename", "Give a workflow of the list another name");
  command->add_option("WORKFLOW", *wanted, kWanted)->required()->type_name("");
  command->add_option("NAME", *name, "Its new name; the identifier stays")->required()->type_name("");
  command->footer("Example:\n  quillmere workflows rename ink_wash \"Ink and Wash\"");
  return {command, [wanted, name, &session] { renameWorkflow(*wanted, *name, pluginFolder(session.plugin)); }};
}

WorkflowEdit addRemove(CLI::App& workflows, const SessionOptions& session) {
  const auto wanted = std::make_shared<std::string>();
  CLI::App* command = workflows.add_subcommand("remove", "Take a workflow from the list; its file stays");
  command->add_option("WORKFLOW", *wanted, kWanted)->required()->type_name("");
  command->footer("Example:\n  quillmere workflows remove \"Ink and Wash\"");
  return {command, [wanted, &session] { removeWorkflow(*wanted, pluginFolder(session.plugin)); }};
}

WorkflowEdit addMove(CLI::App& workflows, const SessionOptions& session) {
  const auto wanted = std::make_shared<std::string>(), place = std::make_shared<std::string>();
  CLI::App* command = workflows.add_subcommand("move", "Move a workflow to another place of the list");
  command->add_option("WORKFLOW", *wanted, kWanted)->required()->type_name("");
  command->add_option("PLACE", *place, "Its new number, from 1")->required()->type_name("");
  command->footer("Example:\n  quillmere workflows move \"Ink and Wash\" 1");
  return {command, [wanted, place, &session] { moveWorkflow(*wanted, *place, pluginFolder(session.plugin)); }};
}

bool isThere(const Workflow& workflow) {
  std::error_code error;
  return fs::is_regular_file(workflow.file, error);
}

std::string row(const Workflow& workflow, int preferred) {
  return std::string(workflow.number == preferred ? "* " : "  ") + std::to_string(workflow.number) + "\t" +
         printable(workflow.name) + "\t" + printable(workflow.id) + "\t" + printable(workflow.file.string()) +
         (isThere(workflow) ? "" : "\t(missing)") + "\n";
}

Json entry(const Workflow& workflow, int preferred) {
  return {{"number", workflow.number},      {"id", workflow.id},           {"name", workflow.name},
          {"path", workflow.file.string()}, {"exists", isThere(workflow)}, {"preferred", workflow.number == preferred}};
}

void printList(EffectSession& session, bool asJson) {
  NodeParameters& node = session.node();
  const int preferred = node.number(QUILLMERE_WORKFLOW);  // a new node has chosen it
  const std::vector<Workflow> catalog = catalogOf(node);
  std::string text;
  Json entries = Json::array();
  for (const Workflow& workflow : catalog) {
    if (asJson) {
      entries.push_back(entry(workflow, preferred));
    } else {
      text += row(workflow, preferred);
    }
  }
  printResult(asJson ? lineOf(entries) : text);
  if (asJson || !catalog.empty()) return;
  Output(STDERR_FILENO)
      .write("The catalog is empty; render uses the example workflow " +
             printable(session.plugin().exampleWorkflow().string()) + "\n");
}

ExitStatus list(const Options& options) {
  host::Events nobody;
  EffectSession session(writeDirectoryOf(options.session), pluginFolder(options.session.plugin), nobody);
  printList(session, options.json);
  return ExitStatus::Done;
}

}  // namespace

Action addWorkflows(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  const auto json = [options](CLI::App& listing) {
    listing.add_flag("--json", options->json, "Print a JSON array of objects instead of lines");
  };
  json(command);
  addSessionOptions(command, options->session);
  command.require_subcommand(0, 1);
  CLI::App* plain = command.add_subcommand("list", "List the workflows, as without a sub-command");
  json(*plain);
  addSessionOptions(*plain, options->session);
  const auto checks = addWorkflowChecks(command);
  const SessionOptions& session = options->session;
  const std::vector<WorkflowEdit> edits{addAdd(command, session), addRename(command, session),
                                        addRemove(command, session), addMove(command, session)};
  for (const auto& [edit, change] : edits) {
    json(*edit);
    addPluginOption(*edit, options->session);
  }
  command.footer(
      "The one marked with * is used when render is given none. What changes the list prints it afterwards.\n"
      "Examples:\n"
      "  quillmere workflows --json\n"
      "  quillmere workflows check depth.json\n"
      "  quillmere workflows add depth.json --name \"Depth, soft\"");
  return [options, edits, checks] {
    for (const auto& [check, action] : checks) {
      if (check->parsed()) return action();
    }
    for (const auto& [edit, change] : edits) {
      if (edit->parsed()) change();
    }
    return list(*options);
  };
}

}  // namespace quillmere::app
