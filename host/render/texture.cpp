#include "texture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
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

// std::floor is a call of the library where the processor isn't known to have an instruction for it.
float roundedDown(float value) {
  constexpr float kWhole = 8388608.0F;  // numbers from here on have no fraction
  if (!(std::abs(value) < kWhole)) return value;
  const auto towardsZero = static_cast<float>(static_cast<int>(value));
  return towardsZero > value ? towardsZero - 1.0F : towardsZero;
}

// One coordinate brought to where the texels are counted from 0: to 0-1, or 0-2 for a mirrored one.
float reduced(float coordinate, Wrapping wrapping) {
  if (!std::isfinite(coordinate)) return 0.0F;
  if (wrapping.mirror) return coordinate - 2.0F * roundedDown(0.5F * coordinate);
  if (wrapping.repeat) return coordinate - roundedDown(coordinate);
  return std::clamp(coordinate, 0.0F, 1.0F);
}

// Index of a texel that lies at most one picture beside it.
int wrapped(int index, int size, Wrapping wrapping) {
  if (wrapping.mirror) {
    const int place = index < 0 ? index + 2 * size : index < 2 * size ? index : index - 2 * size;
    return place < size ? place : 2 * size - 1 - place;
  }
  if (wrapping.repeat) return index < 0 ? index + size : index < size ? index : index - size;
  return std::clamp(index, 0, size - 1);
}

std::uint32_t wordOf(const std::uint8_t* rgba) {
  std::uint32_t word;
  std::memcpy(&word, rgba, sizeof word);
  return word;
}

}  // namespace

Texture::Texture(std::shared_ptr<const image::Image> picture, Holds holds)
    : picture_(std::move(picture)), holds_(holds), values_(holds == Holds::Colors ? lights() : numbers()),
      numbers_(numbers()) {
  levels_.push_back({picture_->width(), picture_->height(), picture_->row<std::uint8_t>(0)});
  while (levels_.back().width > 1 || levels_.back().height > 1) addHalved();
}

glm::vec4 Texture::texel(const std::uint8_t* rgba) const {
  return {values_[rgba[0]], values_[rgba[1]], values_[rgba[2]], numbers_[rgba[3]]};
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
  const float left = roundedDown(x), top = roundedDown(y);
  const auto column = [&](float index) { return std::ptrdiff_t{4} * wrapped(static_cast<int>(index), level.width, u); };
  const auto row = [&](float index) {
    return level.texels + std::ptrdiff_t{4} * level.width * wrapped(static_cast<int>(index), level.height, v);
  };
  const std::ptrdiff_t columns[] = {column(left), column(left + 1.0F)};
  const std::uint8_t* const rows[] = {row(top), row(top + 1.0F)};
  const std::uint8_t* const texels[] = {rows[0] + columns[0], rows[0] + columns[1], rows[1] + columns[0],
                                        rows[1] + columns[1]};
  const std::uint32_t first = wordOf(texels[0]);
  const glm::vec4 corner = texel(texels[0]);
  // Of one colour, as most of painted pictures is.
  if (first == wordOf(texels[1]) && first == wordOf(texels[2]) && first == wordOf(texels[3])) return corner;
  return glm::mix(glm::mix(corner, texel(texels[1]), x - left), glm::mix(texel(texels[2]), texel(texels[3]), x - left),
                  y - top);
}

glm::vec4 Texture::read(glm::vec2 uv, float level, const scene::TextureMap& map) const {
  if (!(level > 0.0F)) {
    return map.nearest ? nearest(uv, levels_[0], map) : bilinear(uv, levels_[0], map);
  }
  const float last = static_cast<float>(levels_.size() - 1);
  const float finer = roundedDown(std::min(level, last));
  const glm::vec4 fine = bilinear(uv, levels_[static_cast<std::size_t>(finer)], map);
  if (finer >= last) return fine;
  return glm::mix(fine, bilinear(uv, levels_[static_cast<std::size_t>(finer) + 1], map), level - finer);
}

}  // namespace quillmere::render
