#include "preflight.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <set>

#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPatience{30};

void refuseUse(const std::optional<Obstacle>& obstacle) {
  if (obstacle) throw Failure(ExitStatus::Usage, obstacle->what, obstacle->why, obstacle->remedy);
}

// The folder, or the nearest above it that is there.
fs::path presentPartOf(const fs::path& folder) {
  std::error_code error;
  fs::path present = fs::absolute(folder.empty() ? "." : folder, error);
  while (!fs::exists(fs::symlink_status(present, error)) && present.has_relative_path())
    present = present.parent_path();
  return present;
}

}  // namespace

std::optional<Obstacle> obstacleToFilesIn(const std::string& what, const fs::path& folder) {
  const fs::path present = presentPartOf(folder);
  std::error_code error;
  const std::string named = what + " '" + (folder.empty() ? "." : folder.string()) + "'";
  if (!fs::is_directory(present, error)) {
    return Obstacle{named, "'" + present.string() + "' is no folder", "give another, or move that away"};
  }
  if (::access(present.c_str(), W_OK | X_OK) == 0) return {};
  return Obstacle{named, std::string("cannot be written: ") + std::strerror(errno), "give one that you may write to"};
}

void requireOutput(const OutputPattern& output, const FrameSet& frames) {
  std::set<fs::path> folders;
  for (std::int64_t index = 0; index < frames.count(); ++index) {
    const fs::path file = output.fileFor(frames.at(index));
    if (folders.insert(file.parent_path()).second) refuseUse(obstacleToFilesIn("output folder", file.parent_path()));
    refuseUse(obstacleAt("output file", file));
  }
  std::error_code error;
  if (!output.folder().empty()) fs::create_directories(output.folder(), error);
  if (!error) return;
  throw Failure(ExitStatus::Usage, "output folder '" + output.folder().string() + "'",
                "cannot be made: " + error.message(), "give one that you may write to");
}

WorkflowCheck lookAtWorkflow(EffectSession& session, const std::string& workflow, const std::function<bool()>& stop) {
  const fs::path file = session.node().text(QUILLMERE_WORKFLOW_PATH);
  if (file.empty()) return {};
  const std::string pictures = session.node().text(QUILLMERE_OUTPUT_DIRECTORY);
  if (!pictures.empty()) refuseUse(obstacleToFilesIn("folder of the pictures", pictures));
  return checkWorkflow(session.plugin(), "'" + workflow + "'", file, kPatience, stop);
}

void requireRunnable(const WorkflowCheck& check) {
  const Finding& found = check.finding;
  const bool told = check.answered || !check.readable;
  if (!told || found.state != Finding::State::Broken) return;
  throw Failure(ExitStatus::Usage, found.subject, found.detail, found.remedy);
}

}  // namespace quillmere::app
