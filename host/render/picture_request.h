#pragma once

#include <functional>

#include "base/parallel.h"
#include "image/image.h"
#include "posed_scene.h"
#include "scene/scene.h"

namespace quillmere::render {

// What both kinds of picture are made from.
struct PictureRequest {
  const PosedScene& scene;
  const scene::Camera& view;
  int width, height;
  std::function<bool()> stop;  // may be empty
  int threads;
};

// The empty picture to be drawn into. Throws Error instead of what image::Image and the allocator throw.
image::Image blankPicture(const PictureRequest& request, image::Sample sample);

// A rectangle of pixels of a picture, cut off at its right and bottom edge.
struct Tile {
  int left, top, right, bottom;  // right and bottom lie outside
};

// Calls draw(tile) for squares of `side` pixels that cover the picture, on the request's threads, until its stop test
// says true.
Outcome drawTiles(const PictureRequest& request, int side, const std::function<void(Tile)>& draw);

}  // namespace quillmere::render
