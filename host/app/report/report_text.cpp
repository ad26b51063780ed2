#include "report_text.h"

#include <cstdio>
#include <ctime>
#include <sstream>

#include "base/utf8.h"
#include "event_stream.h"
#include "terminal_line.h"

namespace quillmere::app {
namespace {

constexpr std::size_t kMostFailures = 20;  // that are listed
constexpr double kLongestEstimate = 1e8;   // seconds; nobody plans beyond

std::string counted(std::int64_t number, const char* what) {
  return number == 0 ? "" : ", " + std::to_string(number) + " " + what;
}

// "3 kept, 8 done, 1 failed"; "none begun" when that says nothing.
std::string states(const SequenceProgress& progress) {
  const std::string all =
      counted(progress.kept, "kept") + counted(progress.done, "done") + counted(progress.failed, "failed");
  return all.empty() ? "none done" : all.substr(2);
}

// The time of day so many seconds from now, with the day where it is another one.
std::string clockIn(double seconds) {
  const std::time_t now = std::time(nullptr), then = now + static_cast<std::time_t>(seconds);
  std::tm today{}, parts{};
  ::localtime_r(&now, &today);
  ::localtime_r(&then, &parts);
  char text[64];
  const bool same = today.tm_yday == parts.tm_yday && today.tm_year == parts.tm_year;
  return {text, std::strftime(text, sizeof text, same ? "%H:%M" : "%a %H:%M", &parts)};
}

std::string rowOf(const FailedFrame& failed) {
  std::string number = std::to_string(failed.frame);
  if (number.size() < 6) number.insert(0, 6 - number.size(), ' ');
  const std::string tries = failed.tries > 1 ? " (tried " + std::to_string(failed.tries) + " times)" : "";
  return "  " + number + "  " + failed.camera + "  " + failed.error + tries + "\n";
}

std::string row(const char* label, const std::string& file) {
  return file.empty() ? "" : "  " + std::string(label) + printable(file) + "\n";
}

}  // namespace

std::string textOf(const FrameReport& report) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.2f s", report.seconds);
  std::string summary = "frame " + std::to_string(report.frame) + " " + wordOf(report.state) + " in " + seconds + "\n";
  if (report.state == FrameReport::State::Kept) {
    return "frame " + std::to_string(report.frame) + " kept\n" + row("output   ", report.output);
  }
  if (report.state != FrameReport::State::Done) return summary;
  return summary + row("guide    ", report.guide) + row("picture  ", report.picture) + row("output   ", report.output);
}

std::string printableLines(const std::string& text) {
  std::istringstream lines(text);
  std::string shown;
  for (std::string line; std::getline(lines, line);) shown += printable(line) + "\n";
  return shown;
}

std::string textOf(const SequenceProgress& progress) {
  const std::int64_t ended = progress.count - progress.left();
  std::string text = std::to_string(ended) + " of " + std::to_string(progress.count) + " frames: " + states(progress);
  if (progress.secondsAFrame) text += "; " + durationText(*progress.secondsAFrame) + " a frame";
  if (!progress.secondsLeft || progress.left() == 0 || *progress.secondsLeft > kLongestEstimate) return text;
  return text + ", about " + durationText(*progress.secondsLeft) + " left, until " + clockIn(*progress.secondsLeft);
}

std::string missingText(const SequenceSummary& summary) {
  const std::string missing = summary.missing.empty() ? "" : "missing: " + summary.missing + "\n";
  return missing + (summary.command.empty() ? "" : "to render just those:\n  " + summary.command + "\n");
}

std::string textOf(const SequenceSummary& summary) {
  const SequenceProgress& progress = summary.progress;
  std::string text = std::to_string(progress.count) + " frames: " + states(progress) +
                     counted(progress.left(), "not rendered") + " in " + durationText(progress.seconds);
  if (progress.secondsAFrame) text += "; " + durationText(*progress.secondsAFrame) + " a frame";
  text += "\n";
  if (!summary.failures.empty()) text += "   frame  camera  error\n";
  for (std::size_t at = 0; at < summary.failures.size() && at < kMostFailures; ++at) {
    text += rowOf(summary.failures[at]);
  }
  if (summary.failures.size() > kMostFailures) {
    text += "  and " + std::to_string(summary.failures.size() - kMostFailures) + " others\n";
  }
  return text + missingText(summary);
}

}  // namespace quillmere::app
