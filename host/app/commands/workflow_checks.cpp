#include "workflow_checks.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "base/json.h"
#include "base/utf8.h"
#include "doctor/helper_check.h"
#include "doctor/workflow_text.h"
#include "effect/controls.h"
#include "effect/workflow_catalog.h"
#include "files/scratch_folder.h"
#include "process/process_tree.h"
#include "render_options.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPatience{120};

struct Options {
  SessionOptions session;
  std::string workflow;
  Json controls = Json::object();
  bool json = false;
};

// The file that is meant: a path, or what `render --workflow` takes.
std::string fileOf(const Options& options) {
  std::error_code error;
  if (fs::exists(options.workflow, error)) return options.workflow;
  host::Events nobody;
  EffectSession session(writeDirectoryOf(options.session), pluginFolder(options.session.plugin), nobody);
  chooseWorkflow(session.node(), options.workflow);
  std::string file = session.node().text(QUILLMERE_WORKFLOW_PATH);
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

// With values the helper is asked as a render asks it, so that it judges them.
ExitStatus runControls(const Options& options) {
  adoptOrphans();
  const std::string named = fileOf(options);
  fs::path file = named;
  std::optional<ScratchFolder> folder;
  if (!options.controls.empty()) file = writeControlled(file, options.controls, folder.emplace().path());
  WorkflowCheck found = askForControls(pluginFolder(options.session.plugin), named, file, kPatience);
  if (found.answer.contains("workflow")) found.answer["workflow"] = named;
  return print(found, options, controlsText);
}

std::pair<CLI::App*, Action> addLook(CLI::App& workflows, const char* name, const char* summary, const char* footer,
                                     ExitStatus (*run)(const Options&),
                                     const std::shared_ptr<Options>& options = std::make_shared<Options>()) {
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
  const auto check =
      addLook(workflows, "check", "Tell where a render would put what into a workflow, and what it lacks",
              "Nothing is rendered. Exit status 1 when the workflow can't be rendered here and now.\n"
              "Example:\n  quillmere workflows check depth.json",
              runCheck);
  const auto options = std::make_shared<Options>();
  const auto controls =
      addLook(workflows, "controls", "List what render --control can set in a workflow",
              "With --control nothing is rendered either; what the workflow doesn't take is refused.\n"
              "Examples:\n  quillmere workflows controls depth.json\n"
              "  quillmere render harbour.glb --workflow depth.json --control Strength=0.6",
              runControls, options);
  addControls(*controls.first, options->controls);
  return {check, controls};
}

}  // namespace quillmere::app
