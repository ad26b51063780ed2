#pragma once

#include <string>

#include "render/renderer.h"
#include "scene/scene.h"
#include "values/frames.h"

namespace quillmere::app {

// The frames that pictures of depth must agree in.
struct DepthSequence {
  FrameRange frames;
  FrameClock clock;
  PictureSize size;
  render::Sides sides;
};

// From a little before the nearest to a little behind the farthest surface that the camera of this name sees in the
// frames, of many in 32 evenly spread ones; skies don't count. So it is one range for the whole sequence. Throws Error.
render::DepthRange depthRangeOf(const std::shared_ptr<const scene::Scene>& scene, const std::string& camera,
                                const DepthSequence& sequence);

}  // namespace quillmere::app
