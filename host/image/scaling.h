#pragma once

#include "image/image.h"

namespace quillmere::image {

// A rectangle of pixels: left, top inclusive; width and height at least 1.
struct Area {
  int left = 0, top = 0, width = 0, height = 0;
};

// Catmull-Rom scaling, up or down, of `from` (which must lie inside `picture`) to width x height pixels; aspect ratio
// is not kept, edges are clamped, and samples and channels stay what they are; Float may overshoot at hard edges.
// All channels are scaled alike: alpha doesn't weigh the colours. Works on all cores with the same result on any
// number of them. Throws Error.
Image scaleBicubic(const Image& picture, Area from, int width, int height);
// The same to the size of `to`, another picture of the same samples and channels, all of which it writes. What it holds
// after an Error is partly scaled.
void scaleBicubicInto(Image& to, const Image& picture, Area from);

}  // namespace quillmere::image
