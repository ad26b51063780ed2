#include "base/memory.h"

#include <sys/mman.h>

#include "base/error.h"

namespace quillmere {

void requireMemory(std::uintmax_t bytes, const std::string& prefix) {
  void* const tried = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (tried == MAP_FAILED) {
    throw Error(prefix + "it takes about " + std::to_string(bytes >> 20U) +
                " MiB of memory, which can't be had; free some, raise the limit (ulimit -v) or use a smaller scene");
  }
  munmap(tried, bytes);
}

}  // namespace quillmere
