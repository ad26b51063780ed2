#pragma once

#include <optional>
#include <string>

#include "report/report.h"
#include "sequence.h"

// What a process that renders for another one and that other one tell each other: JSON objects, a line each, on the
// first one's standard streams. Both are of the same version, being the same program.
namespace quillmere::app {

// Something to render: told to the worker.
struct Order {
  Shot shot;
  std::string lockedStyle;  // picture, may be empty
};
std::string orderLine(const Order& order);
// Throws Error for what is none.
Order orderIn(const std::string& line);

// Tells everything that a report is told, as lines on `results`, which must outlive it.
class WorkerReport : public Report {
 public:
  explicit WorkerReport(Output& results) : results_(results) {}

  void statusText(const std::string& utf8) override;
  void statusSpin(bool on) override;
  void statusBar(double fraction) override;
  void console(const std::string& utf8) override;
  void command(int id, int subid) override;
  void pictureViewer(const image::Image& shown) override;
  void progress(const Progress& progress) override;
  void helperPrints(const std::string& lines) override;
  bool wantsPreviews() const override { return true; }
  void frameEnds(const FrameReport& /*report*/) override {}  // the attempt tells all of it
  void renderEnds(const Ending& ending) override;            // why it ends by itself
  bool outputLost() const override { return results_.lost(); }

  void ready();  // for the first order
  void attempted(const Attempt& attempt);

 private:
  Output& results_;
};

// What a worker's line means.
struct WorkerNews {
  bool ready = false;
  std::optional<Attempt> attempt;  // the shot has ended
  std::optional<Ending> ending;    // the process ends because of that
};

// Passes what the line tells on to `report`, which was told on the worker's side; returns what is none of a report's
// business. Throws Error for a line that no worker writes.
WorkerNews passOn(const std::string& line, Report& report);

}  // namespace quillmere::app
