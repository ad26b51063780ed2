#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillmere {

// Throws Error, the reason behind `prefix`, which names the need, unless `bytes` more can be had now. For what can't be
// stopped in the middle: libraries that spin or abort when they run out. What others take meanwhile is not seen.
void requireMemory(std::uintmax_t bytes, const std::string& prefix = {});

// Large blocks that are needed over and over, as frame after frame needs them: a block that was given back is kept for
// the next one of its size, as it takes the system as long to clear new memory as it takes us to fill it. What is kept
// is bounded, and the system may take it whenever it is short. Any thread.
//
// Memory at a multiple of 2 MiB, not cleared; null when there is none to be had.
void* takeBlock(std::size_t bytes);
// `bytes` as it was taken.
void giveBlock(void* block, std::size_t bytes);

}  // namespace quillmere
