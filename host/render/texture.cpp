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

FourTests wholeBelow(Four values) {
  const FourTests towardsZero = __builtin_convertvector(values, FourTests);
  return towardsZero + (__builtin_convertvector(towardsZero, Four) > values);  // -1 where that holds
}

// `reduced`, `bilinear` and `wrapped` of four coordinates of a repeated picture: each lies between two texels.
struct FourTaps {
  FourTaps(Four coordinates, int size) {
    constexpr float kWhole = 8388608.0F;
    const Four sizes = four(static_cast<float>(size));
    const FourTests whole{size, size, size, size}, none{};
    const FourTests small = (coordinates < four(kWhole)) & (coordinates > four(-kWhole));
    const Four known = chosen(small, coordinates, four(0.0F));
    const Four fraction = known - __builtin_convertvector(wholeBelow(known), Four);
    const Four place = fraction * sizes - four(0.5F);
    first = wholeBelow(place);
    share = place - __builtin_convertvector(first, Four);
    second = first + 1;
    first += whole & (first < none);
    second -= whole & (second >= whole);
  }
  bool isOne() const { return first[0] == first[1] && first[0] == first[2] && first[0] == first[3]; }

  FourTests first, second;
  Four share;  // of the second
};

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
  const std::uint8_t* mean = nullptr;  // of four texels `of`, which as they stand in a row are averaged once
  std::uint32_t of = 0;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x, to += 4) {
      const std::array from{at(2 * x, 2 * y), at(2 * x + 1, 2 * y), at(2 * x, 2 * y + 1), at(2 * x + 1, 2 * y + 1)};
      const std::uint32_t first = wordOf(from[0]);
      const bool alike = first == wordOf(from[1]) && first == wordOf(from[2]) && first == wordOf(from[3]);
      if (alike && mean != nullptr && of == first) {
        std::memcpy(to, mean, 4);
        continue;
      }
      average(from, to);
      if (alike) mean = to, of = first;
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
  return mixed({{rows[0] + columns[0], rows[0] + columns[1], rows[1] + columns[0], rows[1] + columns[1]},
                x - static_cast<float>(left),
                y - static_cast<float>(top)});
}

// Of one colour, as most of painted pictures is.
bool Texture::Around::isEven() const {
  const std::uint32_t first = wordOf(texels[0]);
  return first == wordOf(texels[1]) && first == wordOf(texels[2]) && first == wordOf(texels[3]);
}

glm::vec4 Texture::mixed(const Around& around) const {
  const auto& texels = around.texels;
  const glm::vec4 corner = texel(texels[0]);
  if (around.isEven()) return corner;
  return glm::mix(glm::mix(corner, texel(texels[1]), around.right),
                  glm::mix(texel(texels[2]), texel(texels[3]), around.right), around.below);
}

// Pictures are repeated nearly always; any other is read at one place after the other.
std::array<glm::vec4, 4> Texture::readFour(Four u, Four v, const scene::TextureMap& map) const {
  std::array<glm::vec4, 4> colors;
  const Level& level = levels_[0];
  const bool easy = map.repeatU && map.repeatV && !map.mirrorU && !map.mirrorV && !map.nearest;
  for (std::size_t i = 0; i < 4 && !easy; ++i) colors[i] = read({u[i], v[i]}, 0.0F, map);
  if (!easy) return colors;
  const FourTaps across(u, level.width), down(v, level.height);
  const auto around = [&](int i) -> Around {
    const std::uint8_t* const rows[] = {level.texels + std::ptrdiff_t{4} * level.width * down.first[i],
                                        level.texels + std::ptrdiff_t{4} * level.width * down.second[i]};
    const std::ptrdiff_t columns[] = {std::ptrdiff_t{4} * across.first[i], std::ptrdiff_t{4} * across.second[i]};
    return {{rows[0] + columns[0], rows[0] + columns[1], rows[1] + columns[0], rows[1] + columns[1]},
            across.share[i],
            down.share[i]};
  };
  const Around one = around(0);
  colors.fill(mixed(one));
  if (across.isOne() && down.isOne() && one.isEven()) return colors;
  for (int i = 1; i < 4; ++i) colors[static_cast<std::size_t>(i)] = mixed(around(i));
  return colors;
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
