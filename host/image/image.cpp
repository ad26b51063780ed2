#include "image/image.h"

#include <algorithm>
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
void* pixelMemory(std::size_t bytes) {
  if (bytes < kHugePage) return std::malloc(bytes);
  const std::size_t size = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  void* const memory = std::aligned_alloc(kHugePage, size);
#ifdef __linux__
  if (memory != nullptr) madvise(memory, size, MADV_HUGEPAGE);  // where it isn't taken, nothing is lost
#endif
  return memory;
}

Image::Image(int width, int height, int channels, Sample sample, Filling filling)
    : width_(width), height_(height), channels_(channels) {
  checkShape(width, height, channels);
  try {
    withSampleType(sample, [&]<class T>(T) {
      Samples<T>& samples = samples_.emplace<Samples<T>>(offset(height));
      if (filling == Filling::Zero) std::fill(samples.begin(), samples.end(), T{});
    });
  } catch (const std::bad_alloc&) {
    throw Error("cannot make a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels: there is not enough memory; make it smaller");
  }
}

}  // namespace quillmere::image
