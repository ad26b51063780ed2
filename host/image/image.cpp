#include "image.h"

#include <algorithm>
#include <new>

#include "sample_values.h"

namespace quillmere::image {

namespace {

void checkShape(int width, int height, int channels) {
  if (width >= 1 && width <= kMaxSide && height >= 1 && height <= kMaxSide && channels >= 1 && channels <= 4) return;
  throw Error("cannot make a picture of " + std::to_string(width) + " x " + std::to_string(height) + " pixels with " +
              std::to_string(channels) + " channels: use 1 to " + std::to_string(kMaxSide) +
              " pixels a side and 1 to 4 channels");
}

}  // namespace

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
