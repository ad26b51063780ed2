#include "checks.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "files/exchange_files.h"
#include "files/manager_folder.h"
#include "process/child_run.h"
#include "scene/scene.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{60'000};  // for all workflows of the catalog
constexpr std::chrono::milliseconds kPatienceEach{30'000};

bool isFile(const fs::path& file) {
  std::error_code error;
  return fs::is_regular_file(file, error);
}

std::string firstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

Finding python() {
  const std::string subject = "python3";
  const ChildResult found = runChild({"python3", "-c", "import sys; print(sys.executable, sys.version.split()[0])"},
                                     {std::chrono::seconds(20)});
  if (found.end == ChildResult::End::Exited && found.status == 0)
    return {subject, State::Ok, firstLine(found.output), {}};
  if (found.end == ChildResult::End::NotStarted) {
    return {subject, State::Broken, found.errors, "install Python 3.9 or newer and put it on PATH"};
  }
  // The helper does away with such variables, but a Python that doesn't come to read it can't.
  if (const char* const home = std::getenv("PYTHONHOME")) {
    return {subject, State::Broken, std::string("it does not start with PYTHONHOME '") + home + "'",
            "unset PYTHONHOME, which is for another Python, where this or the application is started"};
  }
  const std::string reason = firstLine(found.errors);
  return {subject, State::Broken, "it does not start" + (reason.empty() ? "" : ": " + reason),
          "install Python 3.9 or newer and put it before this one on PATH"};
}

Finding helper(const PluginFolder& plugin) {
  const std::string file = plugin.helper().string();
  if (isFile(plugin.helper())) return {"render helper", State::Ok, file, {}};
  return {"render helper", State::Broken, "'" + file + "' is missing", "put the plug-in's python folder back"};
}

// How the shell runs a command line like the effect's: the inner one tells whose child it is.
Finding shell() {
  const std::string subject = "shell";
  const ChildResult told = runChild({"/bin/sh", "-c", "/bin/sh -c 'echo $PPID'"}, {std::chrono::seconds(20)});
  if (told.end != ChildResult::End::Exited || told.status != 0) {
    return {subject, State::Broken, "/bin/sh does not run commands" + (told.errors.empty() ? "" : ": " + told.errors),
            "install a shell there; the effect starts its helper with it"};
  }
  if (firstLine(told.output) == std::to_string(::getpid())) {
    return {subject, State::Ok, "/bin/sh becomes the helper, so the effect's signal 15 reaches it", {}};
  }
  return {
      subject,
      State::Ok,
      "/bin/sh stays between the effect and the helper, so signal 15 ends the shell only; a helper of your own must "
      "look after its parents, see docs/exchange-files.md",
      {}};
}

Finding writeFolder(const fs::path& folder) {
  const std::string subject = "write directory";
  std::error_code error;
  fs::create_directories(folder, error);
  if (!error && ::access(folder.c_str(), W_OK | X_OK) == 0) return {subject, State::Ok, folder.string(), {}};
  return {subject, State::Broken, "'" + folder.string() + "' cannot be written",
          "give --write-dir a folder that you may write to"};
}

Finding exchangeFiles(const fs::path& folder) {
  auto obstacle = obstacleForAll(folder);
  if (!obstacle) obstacle = obstacleForAny(folder);
  if (obstacle) return broken("exchange files", *obstacle);
  return {"exchange files", State::Ok, exchangeFolder(folder).string(), {}};
}

Finding catalogFinding(const std::vector<Workflow>& catalog) {
  if (!catalog.empty()) return {"catalog", State::Ok, std::to_string(catalog.size()) + " workflows", {}};
  return {"catalog", State::Note, "empty; the example workflow is used",
          "to choose among workflows, add them: quillmere workflows add FILE"};
}

// The module as a render would load it, for `use`; false when it doesn't load.
bool withModule(const PluginFolder& plugin, const fs::path& writeDirectory, std::vector<Finding>& findings,
                const std::function<void(EffectSession&)>& use) {
  if (const auto obstacle = stateObstacle()) {
    findings.push_back(broken("catalog", *obstacle));
    return false;
  }
  try {
    host::Events nobody;
    EffectSession session(writeDirectory, plugin, nobody);
    findings.push_back({"module", State::Ok, plugin.path.string(), {}});
    use(session);
    return true;
  } catch (const std::exception& error) {
    findings.push_back({"module", State::Broken, error.what(), "build it, or give its folder with --plugin"});
    return false;
  }
}

// The catalog that the module sees.
std::optional<std::vector<Workflow>> module(const PluginFolder& plugin, const fs::path& writeDirectory,
                                            std::vector<Finding>& findings) {
  std::vector<Workflow> catalog;
  const auto read = [&](EffectSession& session) { catalog = catalogOf(session.node()); };
  return withModule(plugin, writeDirectory, findings, read) ? std::optional(std::move(catalog)) : std::nullopt;
}

void checkScene(const fs::path& file, std::vector<Finding>& findings) {
  try {
    const auto scene = scene::load(file);
    const std::size_t cameras = scene->cameras().size();
    findings.push_back({"scene",
                        State::Ok,
                        file.string() + ", " + std::to_string(cameras) + (cameras == 1 ? " camera" : " cameras"),
                        {}});
    for (const std::string& warning : scene->warnings()) findings.push_back({"scene", State::Note, warning, {}});
  } catch (const std::exception& error) {
    findings.push_back({"scene", State::Broken, error.what(), {}});
  }
}

void checkChosen(EffectSession& session, const std::string& wanted, std::vector<Finding>& findings) {
  try {
    if (wanted.empty()) {
      preferWorkflow(session.node(), session.plugin());
    } else {
      chooseWorkflow(session.node(), wanted);
    }
  } catch (const Failure& failure) {
    findings.push_back({"workflow", State::Broken, failure.what(), failure.remedy()});
    return;
  }
  const std::string file = session.node().text(QUILLMERE_WORKFLOW_PATH);
  if (file.empty()) {
    findings.push_back({"workflow", State::Note, "none: frames are plain renderings", {}});
    return;
  }
  const std::string name = wanted.empty() ? file : wanted;
  findings.push_back(checkWorkflow(session.plugin(), name, file, kPatienceEach).finding);
}

// What keeps several workflows from being run is told once, with its remedy: by the server that they need, or by the
// first of them.
Finding toldOnce(Finding workflow, std::vector<Finding>& before) {
  if (workflow.state != State::Broken) return workflow;
  const auto same = std::find_if(before.begin(), before.end(), [&](const Finding& other) {
    return other.state != State::Ok && other.detail == workflow.detail && other.remedy == workflow.remedy;
  });
  if (same == before.end()) return workflow;
  same->state = State::Broken;  // a server that nothing needs is a note
  const bool server = same->subject.starts_with(kServer);
  return {workflow.subject,
          server ? State::Note : State::Broken,
          (server ? "needs the " : "as for the ") + same->subject,
          {}};
}

void checkWorkflows(const std::vector<Workflow>& catalog, const PluginFolder& plugin, std::vector<Finding>& findings) {
  const Clock::time_point end = Clock::now() + kPatience;
  const auto check = [&](const std::string& name, const fs::path& file) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    const Finding found = checkWorkflow(plugin, name, file, std::min(left, kPatienceEach)).finding;
    findings.push_back(toldOnce(found, findings));
  };
  for (const Workflow& workflow : catalog) check(workflow.name, workflow.file);
  if (catalog.empty()) check("example", plugin.exampleWorkflow());
}

}  // namespace

std::vector<Finding> examineFor(const IntendedRender& render, const PluginFolder& plugin,
                                const fs::path& writeDirectory) {
  std::vector<Finding> findings{python(), helper(plugin), shell(), writeFolder(writeDirectory),
                                exchangeFiles(writeDirectory)};
  const bool helperRuns = findings[0].state == State::Ok && findings[1].state == State::Ok;
  if (!render.scene.empty()) checkScene(render.scene, findings);
  withModule(plugin, writeDirectory, findings, [&](EffectSession& session) {
    if (helperRuns) checkChosen(session, render.workflow, findings);
  });
  return findings;
}

std::vector<Finding> examine(const PluginFolder& plugin, const fs::path& writeDirectory) {
  std::vector<Finding> findings{python(), helper(plugin), shell()};
  const bool helperRuns = findings[0].state == State::Ok && findings[1].state == State::Ok;
  const auto catalog = module(plugin, writeDirectory, findings);
  findings.push_back(writeFolder(writeDirectory));
  findings.push_back(exchangeFiles(writeDirectory));
  if (!catalog) return findings;
  findings.push_back(catalogFinding(*catalog));
  if (!helperRuns) return findings;
  for (Finding& finding : checkServers(plugin)) findings.push_back(std::move(finding));
  checkWorkflows(*catalog, plugin, findings);
  return findings;
}

}  // namespace quillmere::app
