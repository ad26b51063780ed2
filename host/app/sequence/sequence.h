#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "files/helper_progress.h"
#include "report/report.h"
#include "tally.h"
#include "values/frame_set.h"
#include "values/output_pattern.h"

// Which frames of a render are still to be made, and what follows from how each ends. Knows nothing of how a frame is
// rendered, or where.
namespace quillmere::app {

// What is done about a frame that has failed for good.
enum class OnFailure {
  StopIfLasting,  // the others would fail of the same
  KeepGoing,
  Stop
};

struct FailureRules {
  int retries = 0;  // of a frame whose failure may pass; of one that nobody knows about, one at most
  OnFailure onFailure = OnFailure::StopIfLasting;
};

inline constexpr int kMostRetries = 100;

// Before the `retry`th (from 1) retry of a frame: a second, then three times as long each time, at most a minute.
std::chrono::milliseconds pauseBefore(int retry);

// One picture of the sequence.
struct Shot {
  std::int64_t index = 0;  // from 0, of all frames through all cameras
  std::int32_t frame = 0;
  std::string camera;
  Json facts;  // of what makes it, see picture_record.h
};

// How a try to render it has ended.
// NOLINTNEXTLINE(bugprone-exception-escape): JSON tells of no move that can't fail
struct Attempt {
  FrameReport report;
  std::string lost;                            // files beside the picture that are not whole, in words; mostly empty
  FailureKind failure = FailureKind::Unknown;  // where it failed
};

// One that has failed before anything was rendered.
Attempt failedBefore(const Shot& shot, const std::string& why);

struct SequencePlan {
  std::vector<std::string> cameras;  // at least one
  FrameSet frames;
  OutputPattern output;  // that names and numbers what it must
  PictureSize size;
  enum class Former { Replaced, Kept } former = Former::Replaced;  // Kept: a picture that is what it would become
  FailureRules rules;

  std::int64_t count() const { return static_cast<std::int64_t>(cameras.size()) * frames.count(); }
};

class Sequence {
 public:
  using Facts = std::function<Json(const Shot&)>;
  using Stop = std::function<bool()>;

  // `facts` tells what would make a shot now, "inputs" among it. The report gets what concerns the whole; it must
  // outlive this. `beforeFirst` is called once, when there is something to render, and may throw.
  Sequence(SequencePlan plan, Facts facts, Report& report, std::function<void()> beforeFirst);

  // The next shot to render, after those that are kept have been told; none when there is no other, when a failure has
  // ended the sequence and when `stop` says true.
  std::optional<Shot> next(const Stop& stop);

  // Tells `report`, who hears of this shot, how it has ended, unless it is to be tried again: then returns after which
  // pause.
  std::optional<std::chrono::milliseconds> ended(const Shot& shot, const Attempt& attempt, Report& report);

  // Frames whose pictures are not whole: those that have failed, and those that were begun or left. Ascending, for all
  // cameras together; empty as well where there are too many to be listed.
  std::vector<std::int32_t> missing() const;

  std::filesystem::path fileOf(const Shot& shot) const;
  const SequencePlan& plan() const { return plan_; }
  const Tally& tally() const { return tally_; }

 private:
  Shot shotAt(std::int64_t index) const;
  bool keeps(const Shot& shot);
  bool retries(const Shot& shot, const Attempt& attempt) const;
  void tellProgress();
  void fail(const Shot& shot, const Attempt& attempt);

  SequencePlan plan_;
  Facts facts_;
  Report& report_;
  std::function<void()> beforeFirst_;
  Tally tally_;
  std::int64_t next_ = 0;
  std::map<std::int64_t, int> tries_;  // that have failed, of shots that are tried again
  std::set<std::int64_t> open_;        // shots that were begun and have not been rendered
  bool halted_ = false;
};

}  // namespace quillmere::app
