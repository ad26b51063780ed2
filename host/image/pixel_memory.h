#pragma once

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace quillmere::image {

// Where a vector of samples lies. A large picture asks for huge pages: handing out small ones takes the system as long
// as writing the picture takes us. What is made without a value isn't filled, either.
template <class T>
class PixelMemory {
 public:
  using value_type = T;
  PixelMemory() = default;
  template <class U>
  explicit PixelMemory(const PixelMemory<U>& /*other*/) {}

  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T)) throw std::bad_alloc();
    const std::size_t size = count * sizeof(T);
    void* const memory = size < kLarge ? std::malloc(size) : large((size + kHugePage - 1) / kHugePage * kHugePage);
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t /*count*/) noexcept { std::free(memory); }

  template <class U>
  void construct(U* place) noexcept {
    ::new (static_cast<void*>(place)) U;
  }
  template <class U, class... Arguments>
  void construct(U* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
  }

  bool operator==(const PixelMemory& /*other*/) const { return true; }

 private:
  static constexpr std::size_t kHugePage = std::size_t{2} << 20U;  // bytes, on amd64 and mostly on aarch64
  static constexpr std::size_t kLarge = 2 * kHugePage;

  static void* large(std::size_t size) {
    void* const memory = std::aligned_alloc(kHugePage, size);
#ifdef __linux__
    if (memory != nullptr) madvise(memory, size, MADV_HUGEPAGE);  // where it isn't taken, nothing is lost
#endif
    return memory;
  }
};

}  // namespace quillmere::image
