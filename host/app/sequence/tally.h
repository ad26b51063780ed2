#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "report/report.h"

namespace quillmere::app {

// What has become of a sequence's frames so far, and how long the rest may take.
class Tally {
 public:
  explicit Tally(std::int64_t count) : count_(count) {}

  void kept() { ++kept_; }
  void done(double seconds);  // wall time of that frame
  void failed(FailedFrame frame);

  SequenceProgress progress() const;
  const std::vector<FailedFrame>& failures() const { return failures_; }
  bool complete() const { return kept_ + done_ == count_; }

 private:
  using Clock = std::chrono::steady_clock;

  std::int64_t count_, kept_ = 0, done_ = 0;
  std::vector<FailedFrame> failures_;
  double seconds_ = 0;  // of the frames that are done, together
  Clock::time_point begun_ = Clock::now();
};

}  // namespace quillmere::app
