#pragma once

#include <array>
#include <cstdint>
#include <glm/glm.hpp>

// The sRGB transfer curve (IEC 61966-2-1) between light (linear, 1 = white of the display) and stored values.
namespace quillmere::render {

// The light of each stored 8-bit value, 0-1.
const std::array<float, 256>& lights();

// The stored value of some light; anything outside 0-1 is clamped, NaN is black.
float stored(float light);
// The same as 8 bits, off by at most one from rounding stored() (a table).
std::uint8_t storedByte(float light);

// From unbounded scene radiance to light of the display, 0-1, in the same hue: the Khronos PBR Neutral view transform
// (https://github.com/KhronosGroup/ToneMapping/tree/main/PBR_Neutral). Colours up to 0.8 stay as they are but for the
// 0.04 that reflect off any surface, brighter ones are compressed and fade to white.
glm::vec3 viewed(glm::vec3 radiance);

}  // namespace quillmere::render
