#include "json_report.h"

namespace quillmere::app {

void JsonReport::statusText(const std::string& utf8) {
  tell({{"event", "status-text"}, {"text", utf8}});
}

void JsonReport::statusSpin(bool on) {
  tell({{"event", "status-spin"}, {"on", on}});
}

void JsonReport::statusBar(double fraction) {
  tell({{"event", "status-bar"}, {"value", fraction}});
}

void JsonReport::console(const std::string& utf8) {
  tell({{"event", "console"}, {"text", utf8}});
}

void JsonReport::command(int id, int subid) {
  tell({{"event", "command"}, {"id", id}, {"subid", subid}});
}

void JsonReport::pictureViewer(const image::Image& shown) {
  tell({{"event", "picture-viewer"}, {"width", shown.width()}, {"height", shown.height()}});
}

void JsonReport::frameEnds(const FrameReport& report) {
  tell({{"event", "frame"},
        {"frame", report.frame},
        {"result", report.result},
        {"output", report.output.empty() ? Json() : Json(report.output)},
        {"seconds", report.seconds},
        {"parameters", report.parameters}});
}

}  // namespace quillmere::app
