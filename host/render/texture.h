#pragma once

#include <array>
#include <cstdint>
#include <glm/glm.hpp>
#include <memory>
#include <vector>

#include "color_encoding.h"
#include "four.h"
#include "image/image.h"
#include "scene/scene.h"

namespace quillmere::render {

// A picture with its halved versions, read at any coordinates. Any thread may read.
class Texture {
 public:
  enum class Holds { Colors, Numbers };  // sRGB-encoded, or values as they stand
  struct Wrapping {
    bool repeat, mirror;
  };

  // `picture` must be Byte RGBA. Its pixels are used in place, not copied.
  explicit Texture(std::shared_ptr<const image::Image> picture, Holds holds = Holds::Colors);

  // Linear RGBA at `uv` (0, 0 is the top left corner), wrapped and filtered as `map` says. `level` is the binary
  // logarithm of the pixel's width in texels; 0 and below is the picture itself. Coordinates that are not finite give
  // those of the corner.
  glm::vec4 read(glm::vec2 uv, float level, const scene::TextureMap& map) const;

  // The same of four places whose levels are 0 or below.
  std::array<glm::vec4, 4> readFour(Four u, Four v, const scene::TextureMap& map) const;

  glm::vec2 size() const { return {levels_[0].width, levels_[0].height}; }

 private:
  struct Level {
    int width, height;
    const std::uint8_t* texels;
  };
  struct Place {
    float u, v;  // of the picture, each from 0 to 1, or to 2 where it is mirrored
    Wrapping acrossU, acrossV;
  };
  glm::vec4 nearest(const Place& place, const Level& level) const;
  glm::vec4 bilinear(const Place& place, const Level& level) const;
  // The four texels around a place, and how far it lies from the first to the one on its right and to the one below.
  struct Around {
    bool isEven() const;

    std::array<const std::uint8_t*, 4> texels;
    float right, below;
  };
  glm::vec4 mixed(const Around& around) const;
  glm::vec4 texel(const std::uint8_t* rgba) const;
  void average(const std::array<const std::uint8_t*, 4>& from, std::uint8_t* to) const;
  void addHalved();

  std::shared_ptr<const image::Image> picture_;
  Holds holds_;
  const std::array<float, 256>&values_, &numbers_;  // of the 8-bit values: as it holds them, and of opacities
  StoredBytes bytes_;
  std::vector<std::vector<std::uint8_t>> halved_;  // what levels_[1] and up point into
  std::vector<Level> levels_;                      // never empty
};

}  // namespace quillmere::render
