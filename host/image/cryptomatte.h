#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Mattes by name as compositors read them from EXR files: Cryptomatte specification 1.2
// (https://github.com/Psyop/Cryptomatte).
namespace quillmere::image {

inline constexpr int kMatteLayers = 3;  // RGBA planes of one kind of matte, each of two ranks: id, coverage

// MurmurHash3_x86_32 with the seed 0 (A. Appleby).
std::uint32_t murmurHash(std::string_view text);

// What a plane of ids holds for a name: its hash, changed where needed so that it is a number as a float bit for bit:
// neither infinite nor tiny. 0 stands for nothing.
std::uint32_t matteId(std::string_view name);

// The header's texts, key and value, for the layers TYPE00, TYPE01 … that hold the ids of these names.
std::vector<std::pair<std::string, std::string>> matteHeader(const std::string& type,
                                                             const std::vector<std::string>& names);

}  // namespace quillmere::image
