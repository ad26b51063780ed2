#pragma once

#include <memory>
#include <string>
#include <vector>

#include "render/renderer.h"
#include "scene/scene.h"
#include "values/frames.h"

namespace quillmere::app {

// What pictures of depth must agree in.
struct DepthSequence {
  std::vector<double> seconds;  // of all frames, or of enough of them; at least one
  PictureSize size;
  render::Sides sides;
};

// From a little before the nearest to a little behind the farthest surface that the camera of this name sees; skies
// don't count. Throws Error.
render::DepthRange depthRangeOf(const std::shared_ptr<const scene::Scene>& scene, const std::string& camera,
                                const DepthSequence& sequence);

}  // namespace quillmere::app
