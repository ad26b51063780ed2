#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quillmere {

// 32 hexadecimal digits that tell contents apart (XXH3, 128 bits, https://xxhash.com): the same on every machine, and
// as fast as memory is read. Two contents that differ have different ones unless somebody has taken pains about it; so
// it tells of changes, and proves nothing against somebody who wants to deceive.
std::string contentHash(std::span<const std::uint8_t> content);
std::string contentHash(std::string_view content);

}  // namespace quillmere
