#pragma once

#include <filesystem>
#include <functional>

#include "effect/node_parameters.h"
#include "image/file_formats.h"
#include "report/told_once.h"
#include "values/failure.h"
#include "values/frames.h"
#include "values/output_pattern.h"

namespace quillmere::app {

// Frames to render and where they go.
struct FramePlan {
  FrameSet frames;
  FrameClock clock;
  OutputPattern output;
  PictureSize size;
  std::filesystem::path writeDirectory;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
  std::string camera;  // that the node looks through, for reports
};

// Renders and writes one frame after the other until `stop` says true; a frame that fails doesn't keep the others from
// being rendered. What a helper leaves running goes on through the frames that follow, until one fails or is broken
// off; when this returns no process runs below this one. Failed when any frame failed. Throws Failure when no frame can
// be rendered, because something else lies in the place of the workflow or the
// helper would refuse the size.
ExitStatus renderFrames(host::Document& document, NodeParameters& node, const FramePlan& plan, ToldOnce& report,
                        const std::function<bool()>& stop);

}  // namespace quillmere::app
