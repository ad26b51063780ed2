#pragma once

#include <cstdint>
#include <functional>
#include <glm/glm.hpp>
#include <vector>

#include "base/parallel.h"

namespace quillmere::render {

// What the samples of a pixel add up to, apart by how it may be smoothed. Means over the pixel.
struct LitPixel {
  glm::vec3 chalk{0.0F};     // light sent by chalk, of what comes straight from lamps and emitters
  glm::vec3 around{0.0F};    // light sent by chalk, of all other
  glm::vec3 albedo{0.0F};    // the colour of that chalk, which these two are free of noise but for
  glm::vec3 mirror{0.0F};    // light that is mirrored
  glm::vec3 emission{0.0F};  // light that needs no smoothing
  glm::vec3 own{0.0F};       // light of the display, which takes no part in exposure and view transform
  float lit = 0.0F;          // share of the pixel that all but `own` stands for
  glm::vec3 normal{0.0F};    // of what is lit, not normalised
  float depth = 0.0F;        // of what is lit, metres
  float chalkError = 0.0F, aroundError = 0.0F, mirrorError = 0.0F;  // variances of luminance, of chalk without albedo
  // Variance of what the pixel would show under even light: of edges and textures, not of light.
  float edgeError = 0.0F;

  // What it and another one of the same pixel tell together, of so many samples each.
  LitPixel with(float samples, const LitPixel& other, float otherSamples) const;
};

// A picture of them, row by row.
struct LitPicture {
  LitPicture(int across, int down)
      : width(across), height(down), pixels(static_cast<std::size_t>(across) * static_cast<std::size_t>(down)) {}

  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
  LitPixel& at(int x, int y) { return pixels[index(x, y)]; }
  const LitPixel& at(int x, int y) const { return const_cast<LitPicture&>(*this).at(x, y); }

  int width, height;
  std::vector<LitPixel> pixels;
};

// Bytes that a picture of so many pixels takes while it is lit and smoothed.
std::uintmax_t memoryToLight(std::size_t pixels);

// About the variances of what the display would show of each pixel after smoothing: what edges and textures, the edges
// of shadows and highlights, and light that has too few pixels like it leave. Otherwise as below.
Outcome findGrain(const LitPicture& picture, int threads, const std::function<bool()>& stop,
                  std::vector<float>& errors);

// Smooths the grain of chalk, around and mirror over pixels that show the same surface: alike in normal and depth, and
// in light as far as its error tells. What textures hold stays sharp, and so do shadows and highlights: light that was
// moved farther than its error explains is moved back. Runs on `threads`; the outcome doesn't depend on their
// number. Stopped, the picture is half done.
Outcome smoothGrain(LitPicture& picture, int threads, const std::function<bool()>& stop);

}  // namespace quillmere::render
