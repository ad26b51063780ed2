#pragma once

#include <functional>
#include <vector>

#include "base/parallel.h"
#include "image/image.h"
#include "scene/scene.h"

namespace quillmere::render {

// What lines are found in, besides the objects that cover each pixel.
struct LineGround {
  // Float RGBA: the mean normal times its coverage, and a measure of depth that changes evenly along planes: 1 / depth
  // for a perspective camera, else the depth, in metres; 0 where nothing is seen.
  image::Image shape;
};

// Draws white lines on black into `lines` (Float grey): where objects, as `objects` (Passes::objects, one layer or
// more) have them, border on each other and on the background; where the depth of one object leaps; and where its
// surface is creased. Lines are about two pixels wide and as smooth as the planes are.
Outcome drawLines(const std::vector<image::Image>& objects, const LineGround& ground, const scene::Camera& camera,
                  int threads, const std::function<bool()>& stop, image::Image& lines);

}  // namespace quillmere::render
