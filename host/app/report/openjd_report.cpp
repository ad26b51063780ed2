#include "openjd_report.h"

#include <algorithm>
#include <cstdio>

#include "base/utf8.h"
#include "terminal_line.h"

namespace quillmere::app {
namespace {

class OpenJdReport : public Report {
 public:
  explicit OpenJdReport(Output& results) : results_(results) {}

  void renderBegins(const RenderPlan& plan) override {
    count_ = std::max<std::int64_t>(plan.count, 1);
    log("frames " + plan.frames + " of " + plan.scene);
    for (const std::string& warning : plan.warnings) log("warning: " + warning);
    tellProgress(0.0);
  }
  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    name_ = frameName(frame, index, count);
    tell("openjd_status", name_);
  }
  void turnTo(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    name_ = frameName(frame, index, count);
  }
  void frameFails(std::int32_t frame, const std::string& error) override {
    tell("openjd_status", "frame " + std::to_string(frame) + ": " + error);
  }
  void sequence(const SequenceProgress& progress) override {  // frames that are kept don't begin
    ended_ = progress.done + progress.kept + progress.failed;
    tellProgress(0.0);
  }
  void statusText(const std::string& utf8) override {
    if (utf8 != lastStatus_) tell("openjd_status", name_ + ": " + utf8);
    lastStatus_ = utf8;
  }
  void console(const std::string& utf8) override { log(utf8); }
  void progress(const Progress& progress) override { tellProgress(progress.fraction.value_or(0.0)); }
  void frameEnds(const FrameReport& report) override {
    ended_ = std::min(ended_ + 1, count_);
    const std::string frame = "frame " + std::to_string(report.frame);
    if (report.state == FrameReport::State::Failed) tell("openjd_fail", frame + ": " + report.error);
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.2f s", report.seconds);
    if (!report.output.empty()) log(frame + " is there after " + seconds + ": " + report.output);
    lastStatus_.clear();
    tellProgress(0.0);
  }
  void renderEnds(const Ending& ending) override {
    if (!ending.error.empty()) {
      tell("openjd_fail", ending.error + (ending.remedy.empty() ? "" : "; " + ending.remedy));
    }
  }
  bool outputLost() const override { return results_.lost(); }

 private:
  void tell(const char* what, const std::string& text) {
    results_.write(std::string(what) + ": " + printable(text) + "\n");
  }
  void log(const std::string& text) { results_.write("quillmere: " + printable(text) + "\n"); }
  // Never backwards, and no more often than it can be seen. `fraction` is of the frame that is under way.
  void tellProgress(double fraction) {
    const double done = (static_cast<double>(ended_) + std::clamp(fraction, 0.0, 1.0)) / static_cast<double>(count_);
    const int tenths = static_cast<int>(std::min(done, 1.0) * 1000.0);
    if (tenths <= told_) return;
    told_ = tenths;
    tell("openjd_progress", std::to_string(tenths / 10) + "." + std::to_string(tenths % 10));
  }

  Output& results_;
  std::int64_t count_ = 1, ended_ = 0;
  int told_ = -1;  // tenths of a percent
  std::string name_, lastStatus_;
};

}  // namespace

std::unique_ptr<Report> makeOpenJdReport(Output& results) {
  return std::make_unique<OpenJdReport>(results);
}

}  // namespace quillmere::app
