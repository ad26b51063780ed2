#include "image/image.h"

#include <algorithm>
#include <string>

#include "base/memory.h"

namespace quillmere::image {

namespace {

// Bytes from which on handing out small pages takes the system as long as writing the picture takes us.
constexpr std::size_t kLarge = std::size_t{4} << 20U;

void checkShape(int width, int height, int channels) {
  if (width >= 1 && width <= kMaxSide && height >= 1 && height <= kMaxSide && channels >= 1 && channels <= 4) return;
  throw Error("cannot make a picture of " + std::to_string(width) + " x " + std::to_string(height) + " pixels with " +
              std::to_string(channels) + " channels: use 1 to " + std::to_string(kMaxSide) +
              " pixels a side and 1 to 4 channels");
}

}  // namespace

void* pixelMemory(std::size_t bytes) {
  return bytes < kLarge ? std::malloc(bytes) : takeBlock(bytes);
}

void freePixelMemory(void* memory, std::size_t bytes) {
  bytes < kLarge ? std::free(memory) : giveBlock(memory, bytes);
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
