#include "report.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>

#include "base/utf8.h"
#include "event_stream.h"
#include "terminal_line.h"

namespace quillmere::app {
namespace {

// The failure itself is told by the command.
class QuietReport : public Report {
 public:
  explicit QuietReport(Output& errors) : errors_(errors) {}

  void frameBegins(std::int32_t /*frame*/, std::int64_t /*index*/, std::int64_t /*count*/) override { told_.clear(); }
  void console(const std::string& utf8) override { told_ += printable(utf8) + "\n"; }
  void frameEnds(const FrameReport& report) override {
    if (report.state == FrameReport::State::Failed) errors_.write(told_);
  }
  bool outputLost() const override { return false; }

 private:
  Output& errors_;
  std::string told_;
};

std::string row(const char* label, const std::string& file) {
  return file.empty() ? "" : "  " + std::string(label) + printable(file) + "\n";
}

// How the frame ended and the files of one that is done, one a line.
std::string frameSummary(const FrameReport& report) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.2f s", report.seconds);
  const std::string summary =
      "frame " + std::to_string(report.frame) + " " + wordOf(report.state) + " in " + seconds + "\n";
  if (report.state != FrameReport::State::Done) return summary;
  return summary + row("guide    ", report.guide) + row("picture  ", report.picture) + row("output   ", report.output);
}

class LineReport : public Report {
 public:
  LineReport(Output& results, Output& errors) : results_(results), errors_(errors) {}

  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    name_ = frameName(frame, index, count);
    lastText_.clear();
  }
  void statusText(const std::string& utf8) override {
    if (utf8 != lastText_) errors_.write(name_ + ": " + printable(utf8) + "\n");
    lastText_ = utf8;
  }
  void console(const std::string& utf8) override { errors_.write(printable(utf8) + "\n"); }
  void frameEnds(const FrameReport& report) override { results_.write(frameSummary(report)); }
  bool outputLost() const override { return results_.lost(); }

 private:
  Output& results_;
  Output& errors_;
  std::string name_, lastText_;
};

constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::string_view kEraseLine = "\r\x1b[K";  // carriage return, ECMA-48 "erase in line"

int columnsOf(int terminal) {
  winsize size = {};
  return ::ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// A status line at the foot of the terminal behind `errors`, drawn by a thread of its own. Nothing but the line itself
// is touched: no cursor is hidden and no mode changed, so there is nothing to put back.
class LiveReport : public Report {
 public:
  LiveReport(Output& results, Output& errors)
      : results_(results), errors_(errors), glyphs_(glyphsOfEnvironment()), thread_([this] { redrawUntilEnd(); }) {}
  ~LiveReport() override {
    change([this] { ended_ = true; });
    changed_.notify_one();
    thread_.join();
  }

  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override;
  void statusText(const std::string& utf8) override {
    change([&] { line_.text = utf8; });
  }
  void statusSpin(bool on) override {
    change([&] { line_.spinning = on; });
  }
  void statusBar(double fraction) override {
    change([&] { line_.fraction = fraction; });
  }
  void console(const std::string& utf8) override { above(errors_, printable(utf8) + "\n"); }
  void progress(const Progress& progress) override;
  bool wantsPreviews() const override { return true; }
  void frameEnds(const FrameReport& report) override;
  bool outputLost() const override { return results_.lost(); }
  void silence() override;

 private:
  using Clock = std::chrono::steady_clock;

  template <class Change>
  void change(Change make) {
    const std::lock_guard lock(mutex_);
    make();
  }
  void draw();
  void redrawUntilEnd();
  // Puts `text`, whole lines, where the status line stands, which moves below them.
  void above(Output& output, const std::string& text);

  Output& results_;
  Output& errors_;
  const Glyphs glyphs_;
  std::atomic<bool> silent_{false};

  std::mutex mutex_;  // guards everything below
  std::condition_variable changed_;
  bool ended_ = false, active_ = false;
  StatusLine line_;
  Clock::time_point begun_, told_;
  std::optional<double> left_;  // seconds, when it was told
  unsigned tick_ = 0;

  std::thread thread_;  // last, so that it starts with everything above made
};

void LiveReport::frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) {
  const std::lock_guard lock(mutex_);
  line_ = {};
  line_.frame = frame;
  line_.index = index;
  line_.count = count;
  begun_ = Clock::now();
  left_.reset();
  active_ = true;
  draw();
}

void LiveReport::progress(const Progress& progress) {
  const std::lock_guard lock(mutex_);
  if (progress.fraction) line_.fraction = *progress.fraction;
  left_ = progress.secondsLeft;
  told_ = Clock::now();
}

void LiveReport::frameEnds(const FrameReport& report) {
  change([this] {
    if (active_) errors_.write(kEraseLine);
    active_ = false;
  });
  above(results_, frameSummary(report));
}

void LiveReport::silence() {
  silent_ = true;
  // Straight to the terminal: the thread that holds the mutex may never let go of it again.
  [[maybe_unused]] const ssize_t written = ::write(errors_.descriptor(), kEraseLine.data(), kEraseLine.size());
}

void LiveReport::above(Output& output, const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (active_) errors_.write(kEraseLine);
  output.write(text);
  draw();
}

void LiveReport::draw() {
  if (!active_ || silent_) return;
  const auto since = [](Clock::time_point then) { return std::chrono::duration<double>(Clock::now() - then).count(); };
  line_.seconds = since(begun_);
  line_.secondsLeft = left_ ? *left_ - since(told_) : 0;
  // The last column stays free, because some terminals wrap as soon as it is written.
  const std::string text = textOf(line_, tick_, columnsOf(errors_.descriptor()) - 1, glyphs_);
  errors_.write("\r" + text + "\x1b[K");
}

void LiveReport::redrawUntilEnd() {
  std::unique_lock lock(mutex_);
  while (!changed_.wait_for(lock, kRedraw, [this] { return ended_; })) {
    ++tick_;
    draw();
  }
  if (active_ && !silent_) errors_.write(kEraseLine);
}

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
    case ReportStyle::Lines:
      break;
  }
  if (isSteerableTerminal(errors.descriptor())) return std::make_unique<LiveReport>(results, errors);
  return std::make_unique<LineReport>(results, errors);
}

}  // namespace quillmere::app
