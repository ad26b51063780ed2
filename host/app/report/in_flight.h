#pragma once

#include "forwarding_report.h"

namespace quillmere::app {

// Stands before a report that hears of several frames in flight, for one of them at a time: says which one it is before
// anything about it is passed on. The report must outlive it.
class InFlight : public ForwardingReport {
 public:
  explicit InFlight(Report& report) : ForwardingReport(report) {}

  // What comes from now on is about this frame.
  void follow(std::int32_t frame, std::int64_t index, std::int64_t count) {
    frame_ = frame;
    index_ = index;
    count_ = count;
  }

 private:
  Report& next() override {
    report_.turnTo(frame_, index_, count_);
    return report_;
  }

  std::int32_t frame_ = 0;
  std::int64_t index_ = 0, count_ = 1;
};

}  // namespace quillmere::app
