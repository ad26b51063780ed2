#pragma once

#include <cstddef>
#include <glm/glm.hpp>
#include <vector>

namespace quillmere::render {

// What the samples of a pixel add up to, apart by how it may be smoothed. Means over the pixel.
struct LitPixel {
  glm::vec3 chalk{0.0F};     // light sent by chalk, of what comes straight from lamps and emitters
  glm::vec3 albedo{0.0F};    // the colour of that chalk, which these two are free of noise but for
  glm::vec3 coat{0.0F};      // the colour of what mirrors, which mirrored light is free of noise but for
  glm::vec3 emission{0.0F};  // light that needs no smoothing
  glm::vec3 own{0.0F};       // light of the display, which takes no part in exposure and view transform
  float lit = 0.0F;          // share of the pixel that all but `own` stands for
  glm::vec3 normal{0.0F};    // of what is lit, not normalised
  glm::vec3 position{0.0F};  // of what is lit, metres
  float depth = 0.0F;        // of what is lit, metres
  float chalkError = 0.0F, aroundError = 0.0F, mirrorError = 0.0F;  // variances of luminance, without albedo and coat
  float samples = 0.0F;                                             // that these are means of
  // Of the samples that were followed all around, which may be fewer: until they are smoothed, all of the pixel after.
  glm::vec3 around{0.0F};        // light sent by chalk, of all that doesn't come straight from lamps and emitters
  glm::vec3 aroundAlbedo{0.0F};  // and the colour of that chalk
  glm::vec3 mirror{0.0F};        // light that is mirrored
  float closeness = 0.0F;        // of what is around, 1/metres
  glm::vec3 mirrorCoat{0.0F};    // and the colour of the coat that mirrors it
  float aroundSamples = 0.0F;
  // Variance of what the pixel would show under even light: of edges and textures, not of light.
  float edgeError = 0.0F;

  // What it and another one of the same pixel tell together.
  LitPixel with(const LitPixel& other) const;
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

}  // namespace quillmere::render
