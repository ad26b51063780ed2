#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "report/forwarding_report.h"

namespace quillmere::app {

// A file that tells of a sequence afterwards: a line each with the time (UTC) and the frame, safe to be shown in a
// terminal. Earlier renders stay in it; what grew beyond kMostKept moves to "<name>.1" first. A render adds no more
// than kMostAdded.
class SequenceLog {
 public:
  static constexpr std::uintmax_t kMostKept = std::uintmax_t{4} << 20U,
                                  kMostAdded = std::uintmax_t{64} << 20U;  // bytes

  SequenceLog() = default;
  ~SequenceLog();
  SequenceLog(const SequenceLog&) = delete;
  SequenceLog& operator=(const SequenceLog&) = delete;

  // What was added before is not kept. Throws Failure when the file can't be written, or is something else than a file.
  void open(const std::filesystem::path& file);
  // Any number of lines, each behind `about`, which may be empty.
  void add(const std::string& about, const std::string& text);

 private:
  int descriptor_ = -1;
  std::uintmax_t added_ = 0;
};

// Stands before a report and keeps in the log what that is told, what the helper prints, and at the end of each frame
// the details of a failure that the helper has written, as far as they are not longer than kLongestDetails.
class LoggedReport : public ForwardingReport {
 public:
  static constexpr std::uintmax_t kLongestDetails = std::uintmax_t{1} << 20U;  // bytes

  // All of them must outlive it. `writeDirectory` is that of the process that renders.
  LoggedReport(Report& report, SequenceLog& log, std::filesystem::path writeDirectory);

  void statusText(const std::string& utf8) override;
  void console(const std::string& utf8) override;
  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override;
  void remark(std::int32_t frame, const std::string& text) override;
  void trouble(const std::string& text) override;
  void helperPrints(const std::string& lines) override { log_.add(frame_ + " helper", lines); }
  void frameFails(std::int32_t frame, const std::string& error) override;
  void frameEnds(const FrameReport& report) override;
  void sequenceEnds(const SequenceSummary& summary) override;

 private:
  void addDetails(std::int32_t frame);

  SequenceLog& log_;
  std::filesystem::path writeDirectory_;
  std::string frame_;  // "frame 12"
  std::string last_;   // the last status text, without its numbers
};

}  // namespace quillmere::app
