#pragma once

#include <memory>

#include "report.h"

namespace quillmere::app {

// A status line at the foot of the terminal behind `errors`, drawn by a thread of its own; the files of each frame on
// `results`. Nothing but the line itself is touched: no cursor is hidden and no mode changed, so there is nothing to
// put back. Both outputs must outlive it.
std::unique_ptr<Report> makeLiveReport(Output& results, Output& errors);

}  // namespace quillmere::app
