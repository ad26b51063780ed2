#pragma once

#include <memory>

#include "output.h"
#include "report.h"

namespace quillmere::app {

// For engines that speak Open Job Description: of all lines on standard output they read those that begin with
// "openjd_progress: " (percent of all frames), "openjd_status: " and "openjd_fail: "; the others are their log. No
// other line begins like that, whatever a helper tells. The output must outlive the report.
std::unique_ptr<Report> makeOpenJdReport(Output& results);

}  // namespace quillmere::app
