#include "base/memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "base/error.h"

namespace quillmere {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20U;  // bytes, on amd64 and mostly on aarch64

class KeptBlocks {
 public:
  // Never destroyed: others may give memory back until the process ends.
  static KeptBlocks& all() {
    static auto* const kept = new KeptBlocks;
    return *kept;
  }

  void* take(std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::find_if(blocks_.begin(), blocks_.end(), [&](const Block& block) { return block.bytes == bytes; });
    if (found == blocks_.end()) return nullptr;
    void* const start = found->start;
    bytes_ -= bytes;
    blocks_.erase(found);
    return start;
  }

  void keep(void* start, std::size_t bytes) {
    constexpr std::size_t kMost = std::size_t{512} << 20U;
#ifdef MADV_FREE
    if (bytes <= kMost && madvise(start, bytes, MADV_FREE) == 0) {
      const std::lock_guard lock(mutex_);
      while (bytes_ + bytes > kMost) dropOldest();
      blocks_.push_back({start, bytes});
      bytes_ += bytes;
      return;
    }
#endif
    std::free(start);
  }

  void dropAll() {
    const std::lock_guard lock(mutex_);
    while (!blocks_.empty()) dropOldest();
  }

 private:
  struct Block {
    void* start;
    std::size_t bytes;
  };
  void dropOldest() {
    std::free(blocks_.front().start);
    bytes_ -= blocks_.front().bytes;
    blocks_.erase(blocks_.begin());
  }

  std::mutex mutex_;
  std::vector<Block> blocks_;  // by age
  std::size_t bytes_ = 0;      // of all of them
};

std::size_t wholePages(std::size_t bytes) {
  return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

bool canBeHad(std::uintmax_t bytes) {
  void* const tried = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (tried != MAP_FAILED) munmap(tried, bytes);
  return tried != MAP_FAILED;
}

}  // namespace

void requireMemory(std::uintmax_t bytes, const std::string& prefix) {
  if (canBeHad(bytes)) return;
  KeptBlocks::all().dropAll();
  if (canBeHad(bytes)) return;
  throw Error(prefix + "it takes about " + std::to_string(bytes >> 20U) +
              " MiB of memory, which can't be had; free some, raise the limit (ulimit -v) or use a smaller scene");
}

void* takeBlock(std::size_t bytes) {
  const std::size_t size = wholePages(bytes);
  if (void* const kept = KeptBlocks::all().take(size)) return kept;
  void* memory = std::aligned_alloc(kHugePage, size);
  if (memory == nullptr) {
    KeptBlocks::all().dropAll();
    memory = std::aligned_alloc(kHugePage, size);
  }
#ifdef MADV_HUGEPAGE
  if (memory != nullptr) madvise(memory, size, MADV_HUGEPAGE);  // where it isn't taken, nothing is lost
#endif
  return memory;
}

void giveBlock(void* block, std::size_t bytes) {
  KeptBlocks::all().keep(block, wholePages(bytes));
}

}  // namespace quillmere
