#include "frame_loop.h"

#include <chrono>

#include "files/disk_room.h"
#include "files/exchange_files.h"
#include "files/helper_progress.h"
#include "files/leftovers.h"
#include "files/view_state.h"
#include "image/file_formats.h"
#include "passes/pass_order.h"
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
  std::string lost = {};       // beside a file that is whole; empty unless something was
};

// A helper may keep a server for the frames that follow, but not one that a failure or a break may have left astray.
void settleProcesses(const Outcome& outcome) {
  if (outcome.file.empty()) {
    endDescendants(kGrace);
  } else {
    reapEnded();
  }
}

// A frame at its largest: what PNG can't pack, and the texts beside it.
std::optional<Obstacle> lackOfRoomFor(const FramePlan& plan) {
  constexpr std::uintmax_t kTexts = std::uintmax_t{1} << 20U;
  const auto pixels = static_cast<std::uintmax_t>(plan.size.width) * static_cast<std::uintmax_t>(plan.size.height);
  const int bytes = plan.output.format() == FileFormat::Exr ? 12 : plan.output.format() == FileFormat::Png16 ? 6 : 3;
  if (auto lack = lackOfRoom("write directory", plan.writeDirectory, 3 * pixels + kTexts)) return lack;
  return lackOfRoom("output folder", plan.output.folder(), static_cast<std::uintmax_t>(bytes) * pixels + kTexts);
}

// What a full disk has left of the frame's files, for the end of its error; empty when all are whole.
std::string incomplete(const FramePlan& plan, std::int32_t frame) {
  std::string names;
  for (const auto& file : incompleteFiles(plan.writeDirectory, frame)) {
    names += (names.empty() ? "" : ", ") + ("'" + file.string() + "'");
  }
  return names.empty() ? "" : "incomplete on disk: " + names;
}

std::string lostBeside(const Outcome& outcome, const std::string& incomplete) {
  return outcome.lost + (outcome.lost.empty() || incomplete.empty() ? "" : "; ") + incomplete;
}

std::string reasonOf(cinema::RENDERRESULT result, const NodeParameters& node, const ToldOnce& report) {
  if (!report.undrawn().empty()) return report.undrawn();
  if (result == cinema::RENDERRESULT::OUTOFMEMORY) return "there is not enough memory for it; try a smaller --size";
  const std::string told = node.text(QUILLMERE_STATUS);
  return told == kUnexplainedFailure ? told + "; 'quillmere doctor' tells what the helper lacks" : told;
}

// The picture that the effect has taken from its helper for the frame; empty when there is none.
std::string generatedPicture(const NodeParameters& node) {
  return node.text(QUILLMERE_WORKFLOW_PATH).empty() ? "" : node.text(QUILLMERE_LAST_HISTORY_ENTRY);
}

// Why a frame that the effect is content with is none: it holds the host's own drawing although there is a workflow, or
// not all of the picture. Empty when all is well.
std::string reasonNotTaken(const host::Frame& frame, const NodeParameters& node, const ToldOnce& report) {
  const std::string picture = generatedPicture(node);
  if (node.text(QUILLMERE_WORKFLOW_PATH).empty()) return {};
  if (frame.lines == host::Frame::Lines::OfEffects && report.notMade().empty()) return {};
  if (picture.empty()) return "the helper says that all went well, but names no picture; render it again";
  const std::string missing = "the helper's picture is not in the frame: ";
  if (!report.notMade().empty()) return missing + report.notMade() + "; try a smaller --size";
  try {
    image::read(picture);
  } catch (const Error& error) {
    return missing + error.what();
  }
  return "the helper's picture '" + picture + "' is not in the frame; render it again";
}

Outcome renderOne(host::Document& document, const NodeParameters& node, const FramePlan& plan, std::int32_t number,
                  const ToldOnce& report, const std::function<bool()>& stop) {
  auto obstacle = obstacleForFrame(plan.writeDirectory, number);
  if (!obstacle) obstacle = lackOfRoomFor(plan);
  if (obstacle) return {static_cast<int>(cinema::RENDERRESULT::FAILED), {}, obstacle->text()};
  setFormerResponseAside(plan.writeDirectory, number);
  const std::filesystem::path file = plan.output.fileFor(number);
  const host::Frame frame = host::renderFrame(document, stop, document.finalSettings());
  const int result = static_cast<int>(frame.result);
  if (frame.result != cinema::RENDERRESULT::OK) return {result, {}, reasonOf(frame.result, node, report)};
  const std::string generated = generatedPicture(node), reason = reasonNotTaken(frame, node, report);
  if (!reason.empty()) return {static_cast<int>(cinema::RENDERRESULT::FAILED), {}, reason};
  try {
    std::error_code error;  // told by the file that can't be written
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path(), error);
    const std::string record = generated.empty() ? "" : recordTextOf(generated);
    return {result, file, {}, writeFrame(file, {plan.output.format(), plan.exr}, frame.picture, record)};
  } catch (const Error& error) {
    return {static_cast<int>(cinema::RENDERRESULT::SAVINGFAILED), {}, error.what()};
  }
}

// When the frame's guide was written; none where there is none.
std::optional<std::filesystem::file_time_type> guideTime(const FramePlan& plan, std::int32_t frame) {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(guideFile(plan.writeDirectory, frame), error);
  return error ? std::nullopt : std::optional(time);
}

FrameReport::State stateOf(const Outcome& outcome, bool stopped) {
  if (!outcome.file.empty()) return FrameReport::State::Done;
  const bool broken = outcome.result == static_cast<int>(cinema::RENDERRESULT::USERBREAK);
  return broken || stopped ? FrameReport::State::Stopped : FrameReport::State::Failed;
}

// Without its seconds.
FrameReport reportOn(const Outcome& outcome, const NodeParameters& node, const FramePlan& plan, std::int32_t frame,
                     FrameReport::State state) {
  FrameReport report;
  report.frame = frame;
  report.camera = plan.camera;
  report.state = state;
  report.result = outcome.result;
  report.output = outcome.file.string();
  report.picture = generatedPicture(node);
  if (state == FrameReport::State::Failed) report.error = outcome.trouble;
  report.parameters = node.stored();
  return report;
}

// Before a guide is drawn for minutes that the helper then refuses.
void refuseMorePixelsThanMade(PictureSize size) {
  if (std::int64_t{size.width} * size.height <= kMostPixels) return;
  throw Failure(ExitStatus::Usage, "size " + std::to_string(size.width) + "x" + std::to_string(size.height),
                "the helper makes pictures of at most " + std::to_string(kMostPixels / 1'000'000) + " megapixels",
                "give a smaller --size");
}

// What dead processes have left where this render writes.
void sweep(const NodeParameters& node, const FramePlan& plan) {
  sweepLeftovers(runtimeFolder(plan.writeDirectory));
  sweepLeftovers(plan.output.folder());
  if (const std::string pictures = node.text(QUILLMERE_OUTPUT_DIRECTORY); !pictures.empty()) sweepLeftovers(pictures);
}

}  // namespace

FrameLoop::FrameLoop(EffectSession& session, const scene::Scene& scene, const FramePlan& plan, ToldOnce& report)
    : session_(session), scene_(scene), plan_(plan), report_(report) {
  const std::string workflow = session.node().text(QUILLMERE_WORKFLOW_PATH);
  if (!workflow.empty()) refuseMorePixelsThanMade(plan.size);
  refuse(obstacleAt("workflow", workflow));
  sweep(session.node(), plan);
  keepViewState(plan.writeDirectory);
}

FrameLoop::~FrameLoop() {
  endDescendants(kGrace);
}

void FrameLoop::aim(const Shot& shot) {
  lookThrough(session_, shot.camera);
  session_.document().setFrame(shot.frame, plan_.clock.secondsAt(shot.frame));
  if (shot.facts == told_) return;
  passes_.reset();
  tellHelper(shot.facts, runtimeFolder(plan_.writeDirectory));
  told_ = shot.facts;
  drawPasses();
}

// The effect's guides leave the passes that the facts ask for beside them, and the helper is told of these, too.
void FrameLoop::drawPasses() {
  const auto inputs = told_.find("inputs");
  if (inputs == told_.end() || !inputs->contains("passes")) return;
  const PassOrder order = passOrderIn((*inputs)["passes"]);
  const auto tell = [this](const Json& passes) {
    Json all = told_;
    all["passes"] = passes;
    tellHelper(all, runtimeFolder(plan_.writeDirectory));
  };
  const auto fileFor = [this](const std::string& stem, int frame) {
    std::filesystem::path file = passFile(plan_.writeDirectory, stem, frame);
    refuse(obstacleAtLink("pass", file));
    return file;
  };
  passes_ =
      std::make_unique<FramePasses>(session_.document(), scene_, order.wish, order.settings, PassFiles{fileFor, tell});
}

Attempt FrameLoop::render(const Shot& shot, const std::function<bool()>& stop) {
  NodeParameters& node = session_.node();
  FramePlan plan = plan_;
  plan.output = plan_.output.forCamera(shot.camera);
  plan.camera = shot.camera;
  const Clock::time_point begun = Clock::now();
  try {
    aim(shot);
  } catch (const Error& error) {  // a full disk, for one
    return failedBefore(shot, error.what());
  }
  const auto formerGuide = guideTime(plan, shot.frame);
  node.store(QUILLMERE_LAST_HISTORY_ENTRY, cinema::GeData(cinema::String()));  // an earlier frame's picture
  HelperProgress progress(plan.writeDirectory, shot.frame, report_);
  const Outcome outcome =
      renderOne(session_.document(), node, plan, shot.frame, report_, progress.watchingDuring(stop));
  settleProcesses(outcome);
  removePreviews(plan.writeDirectory, shot.frame);
  keepViewState(plan.writeDirectory);
  Attempt attempt{reportOn(outcome, node, plan, shot.frame, stateOf(outcome, stop())), {}, progress.failure()};
  if (guideTime(plan, shot.frame) != formerGuide) {
    attempt.report.guide = guideFile(plan.writeDirectory, shot.frame).string();
  }
  attempt.report.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
  if (!stop()) attempt.lost = lostBeside(outcome, incomplete(plan, shot.frame));
  return attempt;
}

void lookThrough(EffectSession& session, const std::string& camera) {
  if (cameraOf(session) == camera) return;
  session.node().set(session.node().find(QUILLMERE_CAMERA), camera);
}

}  // namespace quillmere::app
