#include "example_render.h"

#include "effect/effect_session.h"
#include "own_command.h"
#include "process/child_run.h"
#include "process/worker_process.h"
#include "request.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes kPatience{30};

// In the build tree and where it is installed, beside the program.
fs::path sceneMaker() {
  return (app::programFolder() / "../share/quillmere/examples/make_harbour.py").lexically_normal();
}

std::vector<std::string> renderOf(const fs::path& scene, const app::SessionOptions& session) {
  return withSession(
      {app::thisProgram().string(), "render", scene.string(), "--camera", "Harbour", "--frames", "24-120x48", "--size",
       "1280x720", "--prompt", "a fishing harbour at golden dusk, warm lantern light", "--workflow",
       app::pluginFolder(session.plugin).exampleWorkflow().string(), "--output",
       (scene.parent_path() / "harbour_####.png").string(), "--json"},
      session);
}

}  // namespace

ExampleRender::~ExampleRender() {
  ended_ = true;
  if (thread_.joinable()) thread_.join();
}

void ExampleRender::start() {
  const std::lock_guard lock(mutex_);
  if (running_) throw Refused(409, "the example is being rendered");
  if (!watch_.ownership().mine()) throw Refused(409, "another studio has this write directory; render there");
  if (thread_.joinable()) thread_.join();
  running_ = true;
  thread_ = std::thread([this] { render(); });
}

void ExampleRender::render() {
  tell("running");
  const fs::path scene = watch_.studioFolder() / "example" / "harbour.glb";
  std::error_code error;  // told by the command that can't write there
  fs::create_directories(scene.parent_path(), error);
  std::string problem = problemOf({"python3", "-B", sceneMaker().string(), scene.string()});
  if (problem.empty()) problem = problemOf(renderOf(scene, session_));
  running_ = false;
  tell(problem.empty() ? "done" : "failed", problem);
}

std::string ExampleRender::problemOf(const std::vector<std::string>& command) {
  // What the render prints goes into a pipe that only this process reads: it ends when this is killed.
  const app::ChildResult result = app::runChild(
      command, {.patience = kPatience, .kill = app::ChildLimits::Kill::Itself}, [this] { return ended_.load(); });
  if (result.end == app::ChildResult::End::Exited && result.status == 0) return {};
  return result.errors.empty() ? "the example was stopped" : result.errors;
}

void ExampleRender::tell(const char* state, const std::string& problem) {
  watch_.hub().tell("example", {{"state", state}, {"problem", problem}});
}

}  // namespace quillmere::studio
