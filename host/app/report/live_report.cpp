#include "live_report.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <string_view>

#include "base/utf8.h"
#include "line_report.h"

namespace quillmere::app {
namespace {

constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::string_view kEraseLine = "\r\x1b[K";  // carriage return, ECMA-48 "erase in line"

int columnsOf(int terminal) {
  winsize size = {};
  return ::ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

LiveReport::LiveReport(Output& results, Output& errors)
    : results_(results), errors_(errors), glyphs_(glyphsOfEnvironment()), thread_([this] { redrawUntilStopped(); }) {}

LiveReport::~LiveReport() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void LiveReport::frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) {
  const std::lock_guard lock(mutex_);
  line_ = {};
  line_.frame = frame;
  line_.index = index;
  line_.count = count;
  begun_ = Clock::now();
  active_ = true;
  draw();
}

void LiveReport::statusText(const std::string& utf8) {
  const std::lock_guard lock(mutex_);
  line_.text = utf8;
}

void LiveReport::statusSpin(bool on) {
  const std::lock_guard lock(mutex_);
  line_.spinning = on;
}

void LiveReport::statusBar(double fraction) {
  const std::lock_guard lock(mutex_);
  line_.fraction = fraction;
}

void LiveReport::console(const std::string& utf8) {
  above(errors_, printable(utf8) + "\n");
}

void LiveReport::frameEnds(const FrameReport& report) {
  {
    const std::lock_guard lock(mutex_);
    if (active_) errors_.write(kEraseLine);
    active_ = false;
  }
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
  line_.seconds = std::chrono::duration<double>(Clock::now() - begun_).count();
  // The last column stays free, because some terminals wrap as soon as it is written.
  const std::string drawn = composed(line_, tick_, columnsOf(errors_.descriptor()) - 1, glyphs_);
  errors_.write("\r" + drawn + "\x1b[K");
}

void LiveReport::redrawUntilStopped() {
  std::unique_lock lock(mutex_);
  while (!changed_.wait_for(lock, kRedraw, [this] { return stopped_; })) {
    ++tick_;
    draw();
  }
  if (active_ && !silent_) errors_.write(kEraseLine);
}

}  // namespace quillmere::app
