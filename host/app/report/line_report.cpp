#include "line_report.h"
#include "base/utf8.h"

#include <cstdio>

namespace quillmere::app {
namespace {

std::string row(const char* label, const std::string& file) {
  return file.empty() ? "" : "  " + std::string(label) + printable(file) + "\n";
}

bool stopped(const FrameReport& report) {
  return report.result == static_cast<int>(cinema::RENDERRESULT::USERBREAK);
}

const char* endOf(const FrameReport& report) {
  return stopped(report) ? " stopped" : report.output.empty() ? " failed" : " done";
}

}  // namespace

std::string frameSummary(const FrameReport& report) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.2f s", report.seconds);
  const std::string head = "frame " + std::to_string(report.frame) + endOf(report);
  return head + " in " + seconds + "\n" + row("guide    ", report.guide) + row("picture  ", report.picture) +
         row("output   ", report.output);
}

void QuietReport::console(const std::string& utf8) {
  told_ += printable(utf8) + "\n";
}

void QuietReport::frameEnds(const FrameReport& report) {
  if (report.output.empty() && !stopped(report)) errors_.write(told_);
}

void LineReport::frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) {
  name_ = "frame " + std::to_string(frame);
  if (count > 1) name_ += " (" + std::to_string(index + 1) + "/" + std::to_string(count) + ")";
  lastText_.clear();
}

void LineReport::statusText(const std::string& utf8) {
  if (utf8 == lastText_) return;
  lastText_ = utf8;
  errors_.write(name_ + ": " + printable(utf8) + "\n");
}

void LineReport::console(const std::string& utf8) {
  errors_.write(printable(utf8) + "\n");
}

void LineReport::frameEnds(const FrameReport& report) {
  results_.write(frameSummary(report));
}

}  // namespace quillmere::app
