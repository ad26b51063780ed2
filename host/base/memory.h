#pragma once

#include <cstdint>
#include <string>

namespace quillmere {

// Throws Error, the reason behind `prefix`, which names the need, unless `bytes` more can be had now. For what can't be
// stopped in the middle: libraries that spin or abort when they run out. What others take meanwhile is not seen.
void requireMemory(std::uintmax_t bytes, const std::string& prefix = {});

}  // namespace quillmere
