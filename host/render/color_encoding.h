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

// From unbounded scene radiance to light of the display: Narkowicz' fit of the ACES film curve, per channel
// (https://knarkowicz.wordpress.com/2016/01/06/aces-filmic-tone-mapping-curve/). 0 stays 0, the rest is below 1.04.
glm::vec3 filmic(glm::vec3 radiance);

}  // namespace quillmere::render
