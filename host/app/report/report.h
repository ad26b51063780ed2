#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/json.h"
#include "output.h"
#include "sdk/api/application.h"

namespace quillmere::app {

// How one frame ended.
struct FrameReport {
  std::int32_t frame = 0;
  int result = 0;              // the host's result code
  std::string output;          // the file written, empty when there is none
  double seconds = 0;          // wall time of the whole frame
  Json parameters;             // of the effect's node, by ID
  std::string guide, picture;  // of the effect: files, empty when there are none
};

// How far the helper is with a frame, as far as it tells.
struct Progress {
  std::int32_t frame = 0;
  std::string phase, message;
  std::optional<double> fraction;     // of the frame's whole job, 0 to 1
  std::optional<double> secondsLeft;  // an estimate, at least 0
  std::optional<std::int64_t> ahead;  // jobs that come before this one
  struct Steps {
    std::int64_t done = 0, all = 0;
  };
  std::optional<Steps> steps;  // of what runs now
  std::string preview;         // a picture of how it is going; empty without one, and gone when the frame ends
};

// Tells the user how a render goes. What the host is told arrives through Events, on the thread that renders.
class Report : public host::Events {
 public:
  // Frame `frame`, the `index`th (from 0) of `count`, begins.
  virtual void frameBegins(std::int32_t /*frame*/, std::int64_t /*index*/, std::int64_t /*count*/) {}
  // After the status text of the same moment, and only when something has changed.
  virtual void progress(const Progress& /*progress*/) {}
  virtual void frameEnds(const FrameReport& report) = 0;
  // Whether somebody may look at preview pictures.
  virtual bool wantsPreviews() const { return false; }
  // True once nobody reads standard output any more.
  virtual bool outputLost() const = 0;
  // Leaves the terminal as it was; the process may end right after. Any thread, never blocks.
  virtual void silence() {}
};

// Lines: each new status text and console line on `errors`, the files of each frame on `results`; where `errors` is a
// terminal, a status line at its foot instead, drawn ten times a second.
// Quiet: what the host's console is told during a frame that then fails.
// Json: one object a line on `results`, as soon as the host is told and in that order.
enum class ReportStyle { Lines, Quiet, Json };

// Both outputs must outlive the report.
std::unique_ptr<Report> makeReport(ReportStyle style, Output& results, Output& errors);

}  // namespace quillmere::app
