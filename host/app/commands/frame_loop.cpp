#include "frame_loop.h"

#include <chrono>

#include "files/exchange_files.h"
#include "image/file_formats.h"
#include "process/process_tree.h"
#include "record/picture_record.h"
#include "report/output.h"
#include "sdk/api/frame.h"
#include "values/effect_facts.h"

namespace quillmere::app {
namespace {

using Clock = std::chrono::steady_clock;

// The helper promises to end within a second of being told to.
constexpr std::chrono::milliseconds kGrace{1500};

struct Outcome {
  int result = 0;
  std::filesystem::path file;  // empty unless written
  std::string trouble;         // empty unless something failed
};

// Leaves no process behind that was started while this lived, however its block ends.
struct Alone {
  ~Alone() { endDescendants(kGrace); }
};

// A helper may keep a server for the frames that follow, but not one that a failure or a break may have left astray.
void settleProcesses(const Outcome& outcome) {
  if (outcome.file.empty()) {
    endDescendants(kGrace);
  } else {
    reapEnded();
  }
}

std::string reasonOf(cinema::RENDERRESULT result, const NodeParameters& node) {
  if (result == cinema::RENDERRESULT::OUTOFMEMORY) return "there is not enough memory for it; try a smaller --size";
  const std::string told = node.text(QUILLMERE_STATUS);
  return told == kUnexplainedFailure ? told + "; 'quillmere doctor' tells what the helper lacks" : told;
}

// The picture that the effect has taken from its helper for the frame; empty when there is none.
std::string generatedPicture(const NodeParameters& node) {
  return node.text(QUILLMERE_WORKFLOW_PATH).empty() ? "" : node.text(QUILLMERE_LAST_HISTORY_ENTRY);
}

// Why the effect has left the frame to the host although its helper had named `picture`.
std::string reasonNotTaken(const std::string& picture) {
  try {
    image::read(picture);
  } catch (const Error& error) {
    return std::string("the helper's picture is not in the frame: ") + error.what();
  }
  return "the helper's picture '" + picture + "' is not in the frame; render it again";
}

Outcome renderOne(host::Document& document, const NodeParameters& node, const FramePlan& plan, std::int32_t number,
                  const std::function<bool()>& stop) {
  if (const auto obstacle = obstacleForFrame(plan.writeDirectory, number)) {
    return {static_cast<int>(cinema::RENDERRESULT::FAILED), {}, obstacle->text()};
  }
  const std::filesystem::path file = plan.output.fileFor(number);
  const host::Frame frame = host::renderFrame(document, stop);
  const int result = static_cast<int>(frame.result);
  if (frame.result != cinema::RENDERRESULT::OK) return {result, {}, reasonOf(frame.result, node)};
  const std::string generated = generatedPicture(node);
  if (!generated.empty() && frame.lines == host::Frame::Lines::OfHost) {
    return {static_cast<int>(cinema::RENDERRESULT::FAILED), {}, reasonNotTaken(generated)};
  }
  try {
    std::error_code error;  // told by the file that can't be written
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path(), error);
    writeFrame(file, plan.output.format(), frame.picture, generated.empty() ? "" : recordTextOf(generated));
    return {result, file, {}};
  } catch (const Error& error) {
    return {static_cast<int>(cinema::RENDERRESULT::SAVINGFAILED), {}, error.what()};
  }
}

FrameReport reportOn(const Outcome& outcome, const NodeParameters& node, const FramePlan& plan, std::int32_t frame,
                     Clock::duration taken) {
  const bool generated = !outcome.file.empty() && !node.text(QUILLMERE_WORKFLOW_PATH).empty();
  return {.frame = frame,
          .result = outcome.result,
          .output = outcome.file.string(),
          .seconds = std::chrono::duration<double>(taken).count(),
          .parameters = node.stored(),
          .guide = generated ? guideFile(plan.writeDirectory, frame).string() : "",
          .picture = generated ? generatedPicture(node) : ""};
}

}  // namespace

ExitStatus renderFrames(host::Document& document, const NodeParameters& node, const FramePlan& plan, Report& report,
                        const std::function<bool()>& stop) {
  refuse(obstacleForAll(plan.writeDirectory));
  refuse(obstacleAt("workflow", node.text(QUILLMERE_WORKFLOW_PATH)));
  const Alone alone;
  ExitStatus status = ExitStatus::Done;
  for (std::int64_t index = 0; index < plan.frames.count() && !stop(); ++index) {
    const std::int32_t frame = plan.frames.at(index);
    report.frameBegins(frame, index, plan.frames.count());
    document.setFrame(frame, plan.clock.secondsAt(frame));
    const Clock::time_point begun = Clock::now();
    const Outcome outcome = renderOne(document, node, plan, frame, stop);
    settleProcesses(outcome);
    report.frameEnds(reportOn(outcome, node, plan, frame, Clock::now() - begun));
    if (outcome.trouble.empty()) continue;
    status = ExitStatus::Failed;
    if (!stop()) printError("frame " + std::to_string(frame) + ": " + outcome.trouble);
  }
  return status;
}

}  // namespace quillmere::app
