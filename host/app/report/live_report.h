#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "report.h"
#include "status_line.h"

namespace quillmere::app {

// A status line at the foot of the terminal behind `errors`, drawn ten times a second by a thread of its own. Nothing
// but the line itself is touched: no cursor is hidden and no mode changed, so there is nothing to put back.
class LiveReport : public Report {
 public:
  LiveReport(Output& results, Output& errors);
  ~LiveReport() override;

  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override;
  void statusText(const std::string& utf8) override;
  void statusSpin(bool on) override;
  void statusBar(double fraction) override;
  void console(const std::string& utf8) override;
  void frameEnds(const FrameReport& report) override;
  bool outputLost() const override { return results_.lost(); }
  void silence() override;

 private:
  using Clock = std::chrono::steady_clock;

  void draw();
  void redrawUntilStopped();
  // Puts `text`, whole lines, where the status line stands, which moves below them.
  void above(Output& output, const std::string& text);

  Output& results_;
  Output& errors_;
  const Glyphs glyphs_;
  std::atomic<bool> silent_{false};

  std::mutex mutex_;  // guards everything below
  std::condition_variable changed_;
  bool stopped_ = false, active_ = false;
  StatusLine line_;
  Clock::time_point begun_;
  unsigned tick_ = 0;

  std::thread thread_;  // last, so that it starts with everything above made
};

}  // namespace quillmere::app
