#include "c4d_memory.h"

#include <cstdlib>

namespace cinema {

void* AllocateMemoryClear(size_t bytes) {
  return std::calloc(1, bytes == 0 ? 1 : bytes);
}

void FreeMemory(void* block) {
  std::free(block);
}

}  // namespace cinema
