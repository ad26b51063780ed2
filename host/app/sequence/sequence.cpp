#include "sequence.h"

#include <algorithm>
#include <utility>

#include "record/inputs.h"
#include "sdk/api/frame.h"

namespace quillmere::app {
namespace {

constexpr std::chrono::milliseconds kFirstPause{1000}, kLongestPause{60000};
constexpr int kGrowth = 3;

std::string inSeconds(std::chrono::milliseconds pause) {
  return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(pause).count()) + " s";
}

}  // namespace

std::chrono::milliseconds pauseBefore(int retry) {
  std::chrono::milliseconds pause = kFirstPause;
  for (int at = 1; at < retry && pause < kLongestPause; ++at) pause *= kGrowth;
  return std::min(pause, kLongestPause);
}

Attempt failedBefore(const Shot& shot, const std::string& why) {
  Attempt attempt;
  attempt.report.frame = shot.frame;
  attempt.report.camera = shot.camera;
  attempt.report.result = static_cast<int>(cinema::RENDERRESULT::FAILED);
  attempt.report.error = why;
  return attempt;
}

Sequence::Sequence(SequencePlan plan, Facts facts, Report& report, std::function<void()> beforeFirst)
    : plan_(std::move(plan)),
      facts_(std::move(facts)),
      report_(report),
      beforeFirst_(std::move(beforeFirst)),
      tally_(plan_.count()) {}

Shot Sequence::shotAt(std::int64_t index) const {
  const std::int64_t frames = plan_.frames.count();
  return {index, plan_.frames.at(index % frames), plan_.cameras[static_cast<std::size_t>(index / frames)], {}};
}

std::filesystem::path Sequence::fileOf(const Shot& shot) const {
  return plan_.output.forCamera(shot.camera).fileFor(shot.frame);
}

std::optional<Shot> Sequence::next(const Stop& stop) {
  std::optional<Shot> found;
  bool kept = false;
  while (!found && !halted_ && next_ < plan_.count() && !stop()) {
    Shot shot = shotAt(next_++);
    shot.facts = facts_(shot);
    if (keeps(shot)) {
      kept = true;
    } else {
      open_.insert(shot.index);
      found = std::move(shot);
    }
  }
  if (kept) tellProgress();
  if (found && beforeFirst_) std::exchange(beforeFirst_, {})();
  return found;
}

bool Sequence::keeps(const Shot& shot) {
  if (plan_.former == SequencePlan::Former::Replaced) return false;
  const std::filesystem::path file = fileOf(shot);
  const Keeping keeping = keepingOf(file, shot.frame, plan_.size, shot.facts["inputs"]);
  if (keeping.state == Keeping::State::Changed) report_.remark(shot.frame, "rendered again: " + keeping.why);
  if (keeping.state != Keeping::State::Kept) return false;
  tally_.kept();
  FrameReport report;
  report.frame = shot.frame;
  report.camera = shot.camera;
  report.state = FrameReport::State::Kept;
  report.output = file.string();
  report_.frameEnds(report);
  return true;
}

bool Sequence::retries(const Shot& shot, const Attempt& attempt) const {
  const auto tried = tries_.find(shot.index);
  const int retried = tried == tries_.end() ? 0 : tried->second;
  switch (attempt.failure) {
    case FailureKind::Passing:
      return retried < plan_.rules.retries;
    case FailureKind::Unknown:
      return retried < std::min(plan_.rules.retries, 1);
    case FailureKind::Lasting:
      break;
  }
  return false;
}

std::optional<std::chrono::milliseconds> Sequence::ended(const Shot& shot, const Attempt& attempt, Report& report) {
  const bool failed = attempt.report.state == FrameReport::State::Failed;
  if (failed && retries(shot, attempt)) {
    const int retry = ++tries_[shot.index];
    const std::chrono::milliseconds pause = pauseBefore(retry);
    report.frameFails(shot.frame, attempt.report.error + "; trying again in " + inSeconds(pause));
    return pause;
  }
  report.frameEnds(attempt.report);
  if (failed) {
    fail(shot, attempt);
  } else if (attempt.report.state == FrameReport::State::Done) {
    tally_.done(attempt.report.seconds);
    open_.erase(shot.index);
    if (!attempt.lost.empty()) report_.trouble("warning: frame " + std::to_string(shot.frame) + ": " + attempt.lost);
  }
  tellProgress();
  return {};
}

void Sequence::tellProgress() {
  if (plan_.count() > 1) report_.sequence(tally_.progress());
}

std::vector<std::int32_t> Sequence::missing() const {
  std::vector<std::int32_t> frames;
  if (plan_.count() - next_ > kMostListedFrames) return frames;
  for (const std::int64_t index : open_) frames.push_back(shotAt(index).frame);
  for (std::int64_t index = next_; index < plan_.count(); ++index) frames.push_back(shotAt(index).frame);
  std::sort(frames.begin(), frames.end());
  frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
  return frames;
}

void Sequence::fail(const Shot& shot, const Attempt& attempt) {
  const std::string lost = attempt.lost.empty() ? "" : "; " + attempt.lost;
  const auto tried = tries_.find(shot.index);
  const int tries = tried == tries_.end() ? 1 : tried->second + 1;
  report_.trouble("frame " + std::to_string(shot.frame) + ": " + attempt.report.error + lost);
  tally_.failed({shot.frame, shot.camera, attempt.report.error, tries});
  const bool lasts = attempt.failure == FailureKind::Lasting && plan_.rules.onFailure == OnFailure::StopIfLasting;
  if (!lasts && plan_.rules.onFailure != OnFailure::Stop) return;
  // Those that were in flight may fail of the same.
  if (!std::exchange(halted_, true) && next_ < plan_.count()) {
    report_.trouble(
        lasts ? "the other frames are not begun: they would fail of the same; --keep-going renders them all the same"
              : "the other frames are not begun, as --stop-at-first-failure asks");
  }
}

}  // namespace quillmere::app
