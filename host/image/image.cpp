#include "image/image.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace quillmere::image {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20U;  // bytes, on amd64 and mostly on aarch64

void checkShape(int width, int height, int channels) {
  if (width >= 1 && width <= kMaxSide && height >= 1 && height <= kMaxSide && channels >= 1 && channels <= 4) return;
  throw Error("cannot make a picture of " + std::to_string(width) + " x " + std::to_string(height) + " pixels with " +
              std::to_string(channels) + " channels: use 1 to " + std::to_string(kMaxSide) +
              " pixels a side and 1 to 4 channels");
}

}  // namespace

// A large picture asks for huge pages: handing out small ones takes the system as long as writing the picture takes us.
void* pixelMemory(std::size_t bytes, Filling filling) {
  if (bytes < kHugePage) return filling == Filling::Zero ? std::calloc(bytes, 1) : std::malloc(bytes);
  const std::size_t size = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  // There is no calloc that aligns: what lies before the first whole huge page is of small ones.
  void* const memory = filling == Filling::Zero ? std::calloc(size, 1) : std::aligned_alloc(kHugePage, size);
#ifdef __linux__
  if (memory != nullptr) {
    const std::size_t before = kHugePage - 1 - (reinterpret_cast<std::uintptr_t>(memory) + kHugePage - 1) % kHugePage;
    madvise(static_cast<std::byte*>(memory) + before, size - before, MADV_HUGEPAGE);  // if it isn't taken, so be it
  }
#endif
  return memory;
}

Image::Image(int width, int height, int channels, Sample sample, Filling filling)
    : width_(width), height_(height), channels_(channels) {
  checkShape(width, height, channels);
  try {
    withSampleType(sample,
                   [&]<class T>(T) { samples_.emplace<Samples<T>>(offset(height), PixelAllocator<T>(filling)); });
  } catch (const std::bad_alloc&) {
    throw Error("cannot make a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels: there is not enough memory; make it smaller");
  }
}

}  // namespace quillmere::image
