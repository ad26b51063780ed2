#pragma once

#include <memory>

#include "report.h"

namespace quillmere::app {

// Lines: each new status text and console line on `errors`, the files of each frame on `results`; where `errors` is a
// terminal, a status line at its foot instead, drawn ten times a second.
// Quiet: what the host's console is told during a frame that then fails.
// OpenJd: see openjd_report.h.
// Json: one object a line on `results`, as soon as the host is told and in that order; docs/events.md lists them.
enum class ReportStyle { Lines, Quiet, Json, OpenJd };

// Both outputs must outlive the report.
std::unique_ptr<Report> makeReport(ReportStyle style, Output& results, Output& errors);

}  // namespace quillmere::app
