#pragma once

#include <optional>

#include "layer_loop.h"
#include "passes.h"

namespace quillmere::render {

// From the nearest to the farthest first surface in the picture, but for skies. None when there is none.
std::optional<DepthRange> depthsSeen(const PictureRequest& picture);

}  // namespace quillmere::render
