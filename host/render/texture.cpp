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

using Wrapping = Texture::Wrapping;

// std::floor is a call of the library where the processor isn't known to have an instruction for it.
int wholeBelow(float value) {
  const int towardsZero = static_cast<int>(value);
  return static_cast<float>(towardsZero) > value ? towardsZero - 1 : towardsZero;
}

// What is beyond a number's last whole one; numbers from `kWhole` on have no other, and some aren't finite.
float fractionOf(float value) {
  constexpr float kWhole = 8388608.0F;
  return std::abs(value) < kWhole ? value - static_cast<float>(wholeBelow(value)) : 0.0F;
}

// One coordinate brought to where the texels are counted from 0: to 0-1, or 0-2 for a mirrored one.
float reduced(float coordinate, Wrapping wrapping) {
  if (wrapping.mirror) return 2.0F * fractionOf(0.5F * coordinate);
  if (wrapping.repeat) return fractionOf(coordinate);
  return std::isfinite(coordinate) ? std::clamp(coordinate, 0.0F, 1.0F) : 0.0F;
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
    : picture_(std::move(picture)),
      holds_(holds),
      values_(holds == Holds::Colors ? lights() : numbers()),
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
    to[c] = holds_ == Holds::Colors ? bytes_.of(mean) : static_cast<std::uint8_t>(std::lround(mean * 255.0F));
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

glm::vec4 Texture::nearest(const Place& place, const Level& level) const {
  const int x = wrapped(static_cast<int>(place.u * static_cast<float>(level.width)), level.width, place.acrossU);
  const int y = wrapped(static_cast<int>(place.v * static_cast<float>(level.height)), level.height, place.acrossV);
  return texel(level.texels + 4 * (static_cast<std::ptrdiff_t>(y) * level.width + x));
}

glm::vec4 Texture::bilinear(const Place& place, const Level& level) const {
  const float x = place.u * static_cast<float>(level.width) - 0.5F;
  const float y = place.v * static_cast<float>(level.height) - 0.5F;
  const int left = wholeBelow(x), top = wholeBelow(y);
  const auto column = [&](int index) { return std::ptrdiff_t{4} * wrapped(index, level.width, place.acrossU); };
  const auto row = [&](int index) {
    return level.texels + std::ptrdiff_t{4} * level.width * wrapped(index, level.height, place.acrossV);
  };
  const std::ptrdiff_t columns[] = {column(left), column(left + 1)};
  const std::uint8_t* const rows[] = {row(top), row(top + 1)};
  const std::uint8_t* const texels[] = {rows[0] + columns[0], rows[0] + columns[1], rows[1] + columns[0],
                                        rows[1] + columns[1]};
  const std::uint32_t first = wordOf(texels[0]);
  const glm::vec4 corner = texel(texels[0]);
  // Of one colour, as most of painted pictures is.
  if (first == wordOf(texels[1]) && first == wordOf(texels[2]) && first == wordOf(texels[3])) return corner;
  const float right = x - static_cast<float>(left), below = y - static_cast<float>(top);
  return glm::mix(glm::mix(corner, texel(texels[1]), right), glm::mix(texel(texels[2]), texel(texels[3]), right),
                  below);
}

glm::vec4 Texture::read(glm::vec2 uv, float level, const scene::TextureMap& map) const {
  const Wrapping acrossU{map.repeatU, map.mirrorU}, acrossV{map.repeatV, map.mirrorV};
  const Place place{reduced(uv.x, acrossU), reduced(uv.y, acrossV), acrossU, acrossV};
  if (!(level > 0.0F)) return map.nearest ? nearest(place, levels_[0]) : bilinear(place, levels_[0]);
  const std::size_t last = levels_.size() - 1;
  const auto finer = static_cast<std::size_t>(std::min(level, static_cast<float>(last)));
  const glm::vec4 fine = bilinear(place, levels_[finer]);
  if (finer >= last) return fine;
  return glm::mix(fine, bilinear(place, levels_[finer + 1]), level - static_cast<float>(finer));
}

}  // namespace quillmere::render
