#include "color_encoding.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quillmere::render {
namespace {

std::array<float, 256> makeLights() {
  std::array<float, 256> lights{};
  for (std::size_t i = 0; i < lights.size(); ++i) {
    const double value = static_cast<double>(i) / 255.0;
    lights[i] = static_cast<float>(value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
  }
  return lights;
}

// Comparisons written so that NaN fails them.
float clamped(float light) {
  return light > 0.0F ? (light < 1.0F ? light : 1.0F) : 0.0F;
}

}  // namespace

const std::array<float, 256>& lights() {
  static const std::array<float, 256> all = makeLights();
  return all;
}

float stored(float light) {
  const float value = clamped(light);
  if (value >= 1.0F) return 1.0F;  // which the formula misses by a rounding
  return value <= 0.0031308F ? value * 12.92F : 1.055F * std::pow(value, 1.0F / 2.4F) - 0.055F;
}

StoredBytes::StoredBytes() {
  static const std::array<std::uint8_t, kSteps + 1> all = [] {
    std::array<std::uint8_t, kSteps + 1> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(std::lround(stored(static_cast<float>(i) / kSteps) * 255.0F));
    }
    return bytes;
  }();
  bytes_ = all.data();
}

glm::vec3 viewed(glm::vec3 radiance) {
  constexpr float kCompressed = 0.8F - 0.04F, kDesaturation = 0.15F, kMost = 1e6F;
  glm::vec3 color = glm::clamp(radiance, 0.0F, kMost);
  const float least = std::min({color.x, color.y, color.z});
  color -= least < 0.08F ? least - 6.25F * least * least : 0.04F;
  const float peak = std::max({color.x, color.y, color.z});
  if (!(peak >= kCompressed)) return color;
  constexpr float kRoom = 1.0F - kCompressed;
  const float newPeak = 1.0F - kRoom * kRoom / (peak + kRoom - kCompressed);
  const float fading = 1.0F - 1.0F / (kDesaturation * (peak - newPeak) + 1.0F);
  return glm::mix(color * (newPeak / peak), glm::vec3(newPeak), fading);
}

}  // namespace quillmere::render
