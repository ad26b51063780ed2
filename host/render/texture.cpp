#include "texture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "color_encoding.h"

namespace quillmere::render {
namespace {

const std::array<float, 256>& numbers() {
  static const std::array<float, 256> all = [] {
    std::array<float, 256> values{};
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i) / 255.0F;
    return values;
  }();
  return all;
}

struct Wrapping {
  bool repeat, mirror;
};

// One coordinate brought to where the texels are counted from 0: to 0-1, or 0-2 for a mirrored one.
float reduced(float coordinate, Wrapping wrapping) {
  if (!std::isfinite(coordinate)) return 0.0F;
  if (wrapping.mirror) return coordinate - 2.0F * std::floor(0.5F * coordinate);
  if (wrapping.repeat) return coordinate - std::floor(coordinate);
  return std::clamp(coordinate, 0.0F, 1.0F);
}

// Index of a texel that lies at most one picture beside it.
int wrapped(int index, int size, Wrapping wrapping) {
  if (wrapping.mirror) {
    const int place = (index + 2 * size) % (2 * size);
    return place < size ? place : 2 * size - 1 - place;
  }
  if (wrapping.repeat) return (index + size) % size;
  return std::clamp(index, 0, size - 1);
}

}  // namespace

Texture::Texture(std::shared_ptr<const image::Image> picture, Holds holds)
    : picture_(std::move(picture)), holds_(holds), values_(holds == Holds::Colors ? lights() : numbers()) {
  levels_.push_back({picture_->width(), picture_->height(), picture_->row<std::uint8_t>(0)});
  while (levels_.back().width > 1 || levels_.back().height > 1) addHalved();
}

glm::vec4 Texture::texel(const std::uint8_t* rgba) const {
  return {values_[rgba[0]], values_[rgba[1]], values_[rgba[2]], static_cast<float>(rgba[3]) / 255.0F};
}

// Mean colour of four texels weighted by opacity, so that what is invisible does not tint what is not.
void Texture::average(const std::array<const std::uint8_t*, 4>& from, std::uint8_t* to) const {
  glm::vec3 color(0.0F);
  float alpha = 0.0F, weights = 0.0F;
  for (const std::uint8_t* rgba : from) {
    const glm::vec4 value = texel(rgba);
    const float weight = value.a + 1e-3F;
    color += glm::vec3(value) * weight;
    weights += weight;
    alpha += value.a;
  }
  for (int c = 0; c < 3; ++c) {
    const float mean = color[c] / weights;
    to[c] = holds_ == Holds::Colors ? storedByte(mean) : static_cast<std::uint8_t>(std::lround(mean * 255.0F));
  }
  to[3] = static_cast<std::uint8_t>(std::lround(alpha * (255.0F / 4.0F)));
}

void Texture::addHalved() {
  const Level from = levels_.back();
  const Level size{std::max(1, from.width / 2), std::max(1, from.height / 2), nullptr};
  std::vector<std::uint8_t> texels(4U * static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
  const auto at = [&](int x, int y) {
    x = std::min(x, from.width - 1);
    y = std::min(y, from.height - 1);
    return from.texels + 4 * (static_cast<std::ptrdiff_t>(y) * from.width + x);
  };
  std::uint8_t* to = texels.data();
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x, to += 4) {
      average({at(2 * x, 2 * y), at(2 * x + 1, 2 * y), at(2 * x, 2 * y + 1), at(2 * x + 1, 2 * y + 1)}, to);
    }
  }
  halved_.push_back(std::move(texels));
  levels_.push_back({size.width, size.height, halved_.back().data()});
}

glm::vec4 Texture::nearest(glm::vec2 uv, const Level& level, const scene::TextureMap& map) const {
  const Wrapping u{map.repeatU, map.mirrorU}, v{map.repeatV, map.mirrorV};
  const int x = wrapped(static_cast<int>(reduced(uv.x, u) * static_cast<float>(level.width)), level.width, u);
  const int y = wrapped(static_cast<int>(reduced(uv.y, v) * static_cast<float>(level.height)), level.height, v);
  return texel(level.texels + 4 * (static_cast<std::ptrdiff_t>(y) * level.width + x));
}

glm::vec4 Texture::bilinear(glm::vec2 uv, const Level& level, const scene::TextureMap& map) const {
  const Wrapping u{map.repeatU, map.mirrorU}, v{map.repeatV, map.mirrorV};
  const float x = reduced(uv.x, u) * static_cast<float>(level.width) - 0.5F;
  const float y = reduced(uv.y, v) * static_cast<float>(level.height) - 0.5F;
  const float left = std::floor(x), top = std::floor(y);
  const std::array<std::ptrdiff_t, 2> columns{wrapped(static_cast<int>(left), level.width, u),
                                              wrapped(static_cast<int>(left) + 1, level.width, u)};
  const auto row = [&](int index) {
    const std::uint8_t* texels =
        level.texels + 4 * static_cast<std::ptrdiff_t>(wrapped(index, level.height, v)) * level.width;
    return glm::mix(texel(texels + 4 * columns[0]), texel(texels + 4 * columns[1]), x - left);
  };
  return glm::mix(row(static_cast<int>(top)), row(static_cast<int>(top) + 1), y - top);
}

glm::vec4 Texture::read(glm::vec2 uv, float level, const scene::TextureMap& map) const {
  if (!(level > 0.0F)) {
    return map.nearest ? nearest(uv, levels_[0], map) : bilinear(uv, levels_[0], map);
  }
  const float last = static_cast<float>(levels_.size() - 1);
  const float finer = std::floor(std::min(level, last));
  const glm::vec4 fine = bilinear(uv, levels_[static_cast<std::size_t>(finer)], map);
  if (finer >= last) return fine;
  return glm::mix(fine, bilinear(uv, levels_[static_cast<std::size_t>(finer) + 1], map), level - finer);
}

}  // namespace quillmere::render
