#pragma once

#include <filesystem>
#include <functional>

#include "effect/node_parameters.h"
#include "report/report.h"
#include "values/failure.h"
#include "values/frames.h"

namespace quillmere::app {

// Frames to render and where they go.
struct FramePlan {
  FrameRange frames;
  OutputPattern output;
  std::filesystem::path writeDirectory;
};

// Renders and writes one frame after the other until `stop` says true; a frame that fails doesn't keep the others from
// being rendered. When it returns no process runs below this one. Failed when any frame failed.
ExitStatus renderFrames(host::Document& document, const NodeParameters& node, const FramePlan& plan, Report& report,
                        const std::function<bool()>& stop);

}  // namespace quillmere::app
