#pragma once

#include <memory>

#include "report.h"

namespace quillmere::app {

// The version of the events; docs/events.md says when it changes.
inline constexpr int kEventsVersion = 1;

// Writes one JSON object a line on `results`, which must outlive it. Time counts from here.
std::unique_ptr<Report> makeEventStream(Output& results);

// How events call the ends of a frame.
const char* wordOf(FrameReport::State state);

}  // namespace quillmere::app
