#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "base/json.h"
#include "base/utf8.h"
#include "commands.h"
#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "options.h"
#include "report/output.h"
#include "workflow_edits.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct Options {
  SessionOptions session;
  bool json = false;
};

enum class Listing { Lines, Json };

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

std::string listingOf(NodeParameters& node, Listing listing) {
  const int preferred = node.number(QUILLMERE_WORKFLOW);  // a new node has chosen it
  std::string rows;
  Json entries = Json::array();
  for (const Workflow& workflow : catalogOf(node)) {
    rows += row(workflow, preferred);
    entries.push_back(entry(workflow, preferred));
  }
  return listing == Listing::Json ? lineOf(entries) : rows;
}

ExitStatus run(const Options& options) {
  host::Events nobody;
  EffectSession session(writeDirectoryOf(options.session), pluginFolder(options.session.plugin), nobody);
  const std::string text = listingOf(session.node(), options.json ? Listing::Json : Listing::Lines);
  if (text.empty()) {
    Output(STDERR_FILENO)
        .write("The catalog is empty; render uses the example workflow " +
               printable(session.plugin().exampleWorkflow().string()) + "\n");
  }
  printResult(text);
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
  CLI::App* list = command.add_subcommand("list", "List the workflows, as without a sub-command");
  json(*list);
  addSessionOptions(*list, options->session);
  const std::vector<WorkflowEdit> edits = addWorkflowEdits(command, options->session);
  for (const auto& [edit, change] : edits) {
    json(*edit);
    addPluginOption(*edit, options->session);
  }
  command.footer(
      "The one marked with * is used when render is given none. What changes the list prints it afterwards.\n"
      "Examples:\n"
      "  quillmere workflows --json\n"
      "  quillmere workflows add ink_wash.json --name \"Ink and Wash\"");
  return [options, edits] {
    for (const auto& [edit, change] : edits) {
      if (edit->parsed()) change();
    }
    return run(*options);
  };
}

}  // namespace quillmere::app
