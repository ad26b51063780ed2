#pragma once

#include <cstdint>
#include <span>

namespace quillmere::scene {

bool isGlb(std::span<const std::uint8_t> file);

// The JSON text of a binary glTF file (glTF 2.0, chapter 4 "GLB File Format Specification"), borrowed from `file`.
// Throws Error (the reason alone) when a length in the header, or of the JSON or the binary chunk, does not hold.
std::span<const std::uint8_t> jsonOfGlb(std::span<const std::uint8_t> file);

}  // namespace quillmere::scene
