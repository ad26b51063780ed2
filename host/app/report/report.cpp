#include "report.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "json_report.h"
#include "line_report.h"
#include "live_report.h"

namespace quillmere::app {
namespace {

bool isSteerableTerminal(int descriptor) {
  const char* kind = std::getenv("TERM");
  return ::isatty(descriptor) == 1 && kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

}  // namespace

std::unique_ptr<Report> makeReport(ReportStyle style, Output& results, Output& errors) {
  switch (style) {
    case ReportStyle::Json:
      return std::make_unique<JsonReport>(results);
    case ReportStyle::Quiet:
      return std::make_unique<QuietReport>(errors);
    case ReportStyle::Lines:
      break;
  }
  if (isSteerableTerminal(errors.descriptor())) return std::make_unique<LiveReport>(results, errors);
  return std::make_unique<LineReport>(results, errors);
}

}  // namespace quillmere::app
