#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "image/image.h"

// Captions in pictures, in capitals of the host's own, so that a sheet needs no font of the machine.
namespace quillmere::app {

using Ink = std::array<std::uint8_t, 3>;  // sRGB

// Of letters whose smallest dot has `scale` x `scale` pixels.
int letterHeight(int scale);
int textWidth(std::string_view text, int scale);

// Writes `text` (UTF-8) with its top left corner at x, y; what lies outside of `picture`, which is RGB in bytes, is
// left out. Small letters become capitals; what there is no letter for is an empty box.
void writeText(image::Image& picture, int x, int y, std::string_view text, int scale, Ink ink);

}  // namespace quillmere::app
