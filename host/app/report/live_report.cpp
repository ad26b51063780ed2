#include "live_report.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>

#include "base/utf8.h"
#include "report_text.h"
#include "terminal_line.h"

namespace quillmere::app {
namespace {

constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::string_view kEraseLine = "\r\x1b[K";  // carriage return, ECMA-48 "erase in line"

int columnsOf(int terminal) {
  winsize size = {};
  return ::ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

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
  void turnTo(std::int32_t /*frame*/, std::int64_t index, std::int64_t /*count*/) override {
    change([&] { present_ = index; });
  }
  void statusText(const std::string& utf8) override {
    change([&] { present().line.text = utf8; });
  }
  void statusSpin(bool on) override {
    change([&] { present().line.spinning = on; });
  }
  void statusBar(double fraction) override {
    change([&] { present().line.fraction = fraction; });
  }
  void console(const std::string& utf8) override { above(errors_, printable(utf8) + "\n"); }
  void progress(const Progress& progress) override;
  bool wantsPreviews() const override { return true; }
  void frameEnds(const FrameReport& report) override;
  void frameFails(std::int32_t frame, const std::string& error) override;
  void remark(std::int32_t frame, const std::string& text) override {
    above(errors_, "frame " + std::to_string(frame) + ": " + printable(text) + "\n");
  }
  void trouble(const std::string& text) override;
  void sequence(const SequenceProgress& progress) override;
  void sequenceEnds(const SequenceSummary& summary) override { above(errors_, printableLines(textOf(summary))); }
  bool outputLost() const override { return results_.lost(); }
  void silence() override;

 private:
  using Clock = std::chrono::steady_clock;

  // Of a frame in flight.
  struct Line {
    StatusLine line;
    Clock::time_point begun, told;
    std::optional<double> left;  // seconds, when it was told
  };

  Line& present() { return lines_[present_]; }
  double shareDone() const;
  void leave();

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
  bool ended_ = false;
  std::map<std::int64_t, Line> lines_;  // by the frames' places in the sequence; the first is shown
  std::int64_t present_ = 0;            // of the frame that is told about
  SequenceProgress all_;                // of a sequence, else of no frames
  Clock::time_point allTold_;
  unsigned tick_ = 0;

  std::thread thread_;  // last, so that it starts with everything above made
};

void LiveReport::frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) {
  const std::lock_guard lock(mutex_);
  present_ = index;
  Line& line = lines_[index] = {};
  line.line.frame = frame;
  line.line.index = index;
  line.line.count = count;
  line.begun = Clock::now();
  draw();
}

void LiveReport::progress(const Progress& progress) {
  const std::lock_guard lock(mutex_);
  if (progress.fraction) present().line.fraction = *progress.fraction;
  present().left = progress.secondsLeft;
  present().told = Clock::now();
}

void LiveReport::sequence(const SequenceProgress& progress) {
  change([&] {
    all_ = progress;
    allTold_ = Clock::now();
  });
}

// The frame that is told about is in flight no more.
void LiveReport::leave() {
  const std::lock_guard lock(mutex_);
  if (!lines_.empty()) errors_.write(kEraseLine);
  lines_.erase(present_);
}

void LiveReport::frameEnds(const FrameReport& report) {
  if (report.state != FrameReport::State::Kept) leave();
  above(results_, textOf(report));
}

void LiveReport::frameFails(std::int32_t frame, const std::string& error) {
  leave();
  remark(frame, error);
}

void LiveReport::trouble(const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (!lines_.empty()) errors_.write(kEraseLine);
  printError(text);
  draw();
}

void LiveReport::silence() {
  silent_ = true;
  // Straight to the terminal: the thread that holds the mutex may never let go of it again.
  [[maybe_unused]] const ssize_t written = ::write(errors_.descriptor(), kEraseLine.data(), kEraseLine.size());
}

void LiveReport::above(Output& output, const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (!lines_.empty()) errors_.write(kEraseLine);
  output.write(text);
  draw();
}

double LiveReport::shareDone() const {
  double frames = static_cast<double>(all_.count - all_.left());
  for (const auto& [index, line] : lines_) frames += line.line.fraction;
  return frames / static_cast<double>(all_.count);
}

void LiveReport::draw() {
  if (lines_.empty() || silent_) return;
  const auto since = [](Clock::time_point then) { return std::chrono::duration<double>(Clock::now() - then).count(); };
  const Line& first = lines_.begin()->second;
  StatusLine line = first.line;
  line.seconds = since(first.begun);
  line.secondsLeft = first.left ? *first.left - since(first.told) : 0;
  line.others = static_cast<std::int64_t>(lines_.size()) - 1;
  if (all_.count > 0) line.share = shareDone();
  if (all_.secondsLeft) line.allSecondsLeft = *all_.secondsLeft - since(allTold_);
  // The last column stays free, because some terminals wrap as soon as it is written.
  const std::string text = textOf(line, tick_, columnsOf(errors_.descriptor()) - 1, glyphs_);
  errors_.write("\r" + text + "\x1b[K");
}

void LiveReport::redrawUntilEnd() {
  std::unique_lock lock(mutex_);
  while (!changed_.wait_for(lock, kRedraw, [this] { return ended_; })) {
    ++tick_;
    draw();
  }
  if (!lines_.empty() && !silent_) errors_.write(kEraseLine);
}

}  // namespace

std::unique_ptr<Report> makeLiveReport(Output& results, Output& errors) {
  return std::make_unique<LiveReport>(results, errors);
}

}  // namespace quillmere::app
