#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <glm/glm.hpp>

// The sRGB transfer curve (IEC 61966-2-1) between light (linear, 1 = white of the display) and stored values.
namespace quillmere::render {

// The light of each stored 8-bit value, 0-1.
const std::array<float, 256>& lights();

// The stored value of some light; anything outside 0-1 is clamped, NaN is black.
float stored(float light);
// The same as 8 bits, off by at most one from rounding stored(): a table, to be kept by who stores many.
class StoredBytes {
 public:
  StoredBytes();
  std::uint8_t of(float light) const { return bytes_[static_cast<std::size_t>(clamped(light) * kSteps + kRounding)]; }

 private:
  static constexpr int kSteps = 8192;
  static constexpr float kRounding = 0.5F;
  // Comparisons written so that NaN fails them.
  static float clamped(float light) {
    const float positive = light > 0.0F ? light : 0.0F;
    return positive < 1.0F ? positive : 1.0F;
  }

  const std::uint8_t* bytes_;  // kSteps + 1, for as long as the process lives
};

// From unbounded scene radiance to light of the display, 0-1, in the same hue: the Khronos PBR Neutral view transform
// (https://github.com/KhronosGroup/ToneMapping/tree/main/PBR_Neutral). Colours up to 0.8 stay as they are but for the
// 0.04 that reflect off any surface, brighter ones are compressed and fade to white.
glm::vec3 viewed(glm::vec3 radiance);

}  // namespace quillmere::render
