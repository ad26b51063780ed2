#pragma once

#include <string>

#include "report.h"

namespace quillmere::app {

// What a person reads about a frame that has ended: its files, one a line.
std::string frameSummary(const FrameReport& report);

// Only what the host's console is told during a frame that then fails; the failure is told by the command itself.
class QuietReport : public Report {
 public:
  explicit QuietReport(Output& errors) : errors_(errors) {}

  void frameBegins(std::int32_t /*frame*/, std::int64_t /*index*/, std::int64_t /*count*/) override { told_.clear(); }
  void console(const std::string& utf8) override;
  void frameEnds(const FrameReport& report) override;
  bool outputLost() const override { return false; }

 private:
  Output& errors_;
  std::string told_;
};

// Plain lines for logs: each new status text and console line on `errors`, the files of each frame on `results`.
class LineReport : public Report {
 public:
  LineReport(Output& results, Output& errors) : results_(results), errors_(errors) {}

  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override;
  void statusText(const std::string& utf8) override;
  void console(const std::string& utf8) override;
  void frameEnds(const FrameReport& report) override;
  bool outputLost() const override { return results_.lost(); }

 private:
  Output& results_;
  Output& errors_;
  std::string name_, lastText_;
};

}  // namespace quillmere::app
