#include "report_style.h"

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <string_view>

#include "base/utf8.h"
#include "event_stream.h"
#include "live_report.h"
#include "openjd_report.h"
#include "report_text.h"
#include "terminal_line.h"

namespace quillmere::app {
namespace {

// The failure itself is told by the command.
class QuietReport : public Report {
 public:
  explicit QuietReport(Output& errors) : errors_(errors) {}

  void frameBegins(std::int32_t frame, std::int64_t /*index*/, std::int64_t /*count*/) override {
    frame_ = frame;
    told_[frame].clear();
  }
  void turnTo(std::int32_t frame, std::int64_t /*index*/, std::int64_t /*count*/) override { frame_ = frame; }
  void console(const std::string& utf8) override { told_[frame_] += printable(utf8) + "\n"; }
  void frameEnds(const FrameReport& report) override {
    if (report.state == FrameReport::State::Failed) errors_.write(told_[report.frame]);
    told_.erase(report.frame);
  }
  void sequenceEnds(const SequenceSummary& summary) override { errors_.write(printableLines(missingText(summary))); }
  bool outputLost() const override { return false; }

 private:
  Output& errors_;
  std::int32_t frame_ = 0;                    // that is told about
  std::map<std::int32_t, std::string> told_;  // of the frames in flight
};

class LineReport : public Report {
 public:
  LineReport(Output& results, Output& errors) : results_(results), errors_(errors) {}

  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    turnTo(frame, index, count);
    lastTexts_[name_].clear();
  }
  void turnTo(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    name_ = frameName(frame, index, count);
  }
  void statusText(const std::string& utf8) override {
    std::string& last = lastTexts_[name_];
    if (utf8 != last) errors_.write(name_ + ": " + printable(utf8) + "\n");
    last = utf8;
  }
  void remark(std::int32_t frame, const std::string& text) override {
    errors_.write("frame " + std::to_string(frame) + ": " + printable(text) + "\n");
  }
  void frameFails(std::int32_t frame, const std::string& error) override { remark(frame, error); }
  void sequence(const SequenceProgress& progress) override { errors_.write(textOf(progress) + "\n"); }
  void sequenceEnds(const SequenceSummary& summary) override { errors_.write(printableLines(textOf(summary))); }
  void console(const std::string& utf8) override { errors_.write(printable(utf8) + "\n"); }
  void frameEnds(const FrameReport& report) override {
    results_.write(textOf(report));
    lastTexts_.erase(name_);
  }
  bool outputLost() const override { return results_.lost(); }

 private:
  Output& results_;
  Output& errors_;
  std::string name_;                              // of the frame that is told about
  std::map<std::string, std::string> lastTexts_;  // by these names
};

bool isSteerableTerminal(int descriptor) {
  const char* kind = std::getenv("TERM");
  return ::isatty(descriptor) == 1 && kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

}  // namespace

std::unique_ptr<Report> makeReport(ReportStyle style, Output& results, Output& errors) {
  switch (style) {
    case ReportStyle::Json:
      return makeEventStream(results);
    case ReportStyle::Quiet:
      return std::make_unique<QuietReport>(errors);
    case ReportStyle::OpenJd:
      return makeOpenJdReport(results);
    case ReportStyle::Lines:
      break;
  }
  if (isSteerableTerminal(errors.descriptor())) return makeLiveReport(results, errors);
  return std::make_unique<LineReport>(results, errors);
}

}  // namespace quillmere::app
