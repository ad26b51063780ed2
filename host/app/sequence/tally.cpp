#include "tally.h"

#include <utility>

namespace quillmere::app {

void Tally::done(double seconds) {
  ++done_;
  seconds_ += seconds;
}

void Tally::failed(FailedFrame frame) {
  failures_.push_back(std::move(frame));
}

// What is left takes as long as what has ended took, frames in flight at a time included; those kept took no time.
SequenceProgress Tally::progress() const {
  SequenceProgress told;
  told.count = count_;
  told.done = done_;
  told.kept = kept_;
  told.failed = static_cast<std::int64_t>(failures_.size());
  told.seconds = std::chrono::duration<double>(Clock::now() - begun_).count();
  if (done_ == 0) return told;
  told.secondsAFrame = seconds_ / static_cast<double>(done_);
  const std::int64_t ended = done_ + told.failed, left = count_ - kept_ - ended;
  told.secondsLeft = told.seconds / static_cast<double>(ended) * static_cast<double>(left);
  return told;
}

}  // namespace quillmere::app
