#include "log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/file_reading.h"
#include "base/utf8.h"
#include "files/exchange_files.h"
#include "report/event_stream.h"
#include "report/report_text.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kMode = 0644;

[[noreturn]] void refuse(const fs::path& file, const std::string& why) {
  throw Failure(ExitStatus::Failed, "--log '" + file.string() + "'", why, "give another file, or --log '' for none");
}

// Never waits for the other end of a pipe, and follows no link.
int opened(const fs::path& file) {
  const int descriptor =
      ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY, kMode);
  if (descriptor < 0) refuse(file, "it cannot be written: " + std::generic_category().message(errno));
  struct stat facts {};
  if (::fstat(descriptor, &facts) == 0 && S_ISREG(facts.st_mode)) return descriptor;
  ::close(descriptor);
  refuse(file, "it is no file");
}

std::string now() {
  const std::time_t seconds = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string withoutNumbers(const std::string& text) {
  std::string kept;
  for (const char letter : text) {
    if (letter < '0' || letter > '9') kept += letter;
  }
  return kept;
}

}  // namespace

void SequenceLog::open(const fs::path& file) {
  std::error_code error;
  if (fs::is_regular_file(fs::symlink_status(file, error)) && fs::file_size(file, error) > kMostKept && !error) {
    fs::rename(file, file.string() + ".1", error);
  }
  descriptor_ = opened(file);
}

SequenceLog::~SequenceLog() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void SequenceLog::add(const std::string& about, const std::string& text) {
  if (descriptor_ < 0 || added_ > kMostAdded) return;
  const std::string head = now() + " " + (about.empty() ? "" : about + ": ");
  std::istringstream lines(text);
  std::string written;
  for (std::string line; std::getline(lines, line);) written += head + printable(line) + "\n";
  added_ += written.size();
  if (added_ > kMostAdded) written = head + "the log has grown too long, what follows is left out\n";
  Output(descriptor_).write(written);  // a log that can't be written costs no frame
}

LoggedReport::LoggedReport(Report& report, SequenceLog& log, fs::path writeDirectory)
    : ForwardingReport(report), log_(log), writeDirectory_(std::move(writeDirectory)) {}

void LoggedReport::statusText(const std::string& utf8) {
  const std::string text = withoutNumbers(utf8);
  if (text != last_) log_.add(frame_, utf8);
  last_ = text;
  report_.statusText(utf8);
}

void LoggedReport::console(const std::string& utf8) {
  log_.add(frame_, utf8);
  report_.console(utf8);
}

void LoggedReport::frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) {
  frame_ = "frame " + std::to_string(frame);
  last_.clear();
  report_.frameBegins(frame, index, count);
}

void LoggedReport::remark(std::int32_t frame, const std::string& text) {
  log_.add("frame " + std::to_string(frame), text);
  report_.remark(frame, text);
}

void LoggedReport::trouble(const std::string& text) {
  log_.add("", text);
  report_.trouble(text);
}

void LoggedReport::frameFails(std::int32_t frame, const std::string& error) {
  addDetails(frame);
  log_.add(frame_, error);
  report_.frameFails(frame, error);
}

void LoggedReport::frameEnds(const FrameReport& report) {
  const std::string frame = "frame " + std::to_string(report.frame);
  const bool rendered = report.state == FrameReport::State::Done || report.state == FrameReport::State::Failed;
  if (rendered) addDetails(report.frame);
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, " in %.2f s", report.seconds);
  log_.add(frame, std::string(wordOf(report.state)) + (rendered ? seconds : "") +
                      (report.error.empty() ? "" : ": " + report.error) +
                      (report.output.empty() ? "" : ": '" + report.output + "'"));
  report_.frameEnds(report);
}

void LoggedReport::addDetails(std::int32_t frame) {
  const std::string about = "frame " + std::to_string(frame);
  try {
    const fs::path details = responseFile(writeDirectory_, frame).replace_extension(".log");
    log_.add(about, readText(details, kLongestDetails));
  } catch (const Error&) {
    return;  // most frames have none
  }
}

void LoggedReport::sequenceEnds(const SequenceSummary& summary) {
  log_.add("", textOf(summary));
  report_.sequenceEnds(summary);
}

}  // namespace quillmere::app
