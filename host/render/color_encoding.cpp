#include "color_encoding.h"

#include <array>
#include <cmath>

namespace quillmere::render {
namespace {

constexpr int kSteps = 8192;

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

std::array<std::uint8_t, kSteps + 1> makeBytes() {
  std::array<std::uint8_t, kSteps + 1> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(std::lround(stored(static_cast<float>(i) / kSteps) * 255.0F));
  }
  return bytes;
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

std::uint8_t storedByte(float light) {
  static const std::array<std::uint8_t, kSteps + 1> bytes = makeBytes();
  return bytes[static_cast<std::size_t>(std::lround(clamped(light) * kSteps))];
}

glm::vec3 filmic(glm::vec3 radiance) {
  const glm::vec3 x = glm::min(radiance, glm::vec3(1e6F));  // the squares below stay finite
  return (x * (2.51F * x + 0.03F)) / (x * (2.43F * x + 0.59F) + 0.14F);
}

}  // namespace quillmere::render
