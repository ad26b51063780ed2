#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "base/parallel.h"
#include "lit_picture.h"

namespace quillmere::render {

// Bytes that a picture of so many pixels takes while it is lit and smoothed.
std::uintmax_t memoryToLight(std::size_t pixels);

// About the variances of what the display would show of a pixel after smoothing.
struct Grain {
  float cover;   // of edges and textures: which surfaces its samples meet
  float lamps;   // of the light of lamps on each of those: the edges of shadows
  float around;  // of light from all around and mirrored light, where too few pixels are like it
};
// Of each pixel. Otherwise as below.
Outcome findGrain(const LitPicture& picture, int threads, const std::function<bool()>& stop, std::vector<Grain>& grain);

// Smooths the grain of chalk, around and mirror over fragments that show the same surface: alike in normal and depth,
// and in light as far as its error tells. What textures hold stays sharp, and so do shadows and highlights. Runs on
// `threads`; the outcome doesn't depend on their number. Stopped, the picture is half done.
Outcome smoothGrain(LitPicture& picture, int threads, const std::function<bool()>& stop);

}  // namespace quillmere::render
