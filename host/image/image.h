#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <type_traits>
#include <variant>
#include <vector>

#include "base/error.h"

namespace quillmere::image {

// Longest side of any picture in pixels; the application's own documented limit.
inline constexpr int kMaxSide = 16000;

enum class Sample { Byte, Word, Float };
enum class Filling { Zero, None };  // None for who writes every sample before it is read

// Memory for the samples of a picture, to be given back with std::free; null when there is none to be had. Zeros of a
// large picture are the system's: who writes all of it, or nothing, doesn't pay for them.
void* pixelMemory(std::size_t bytes, Filling filling);

// The allocator of sample vectors. What is made without a value holds what `filling` says.
template <class T>
class PixelAllocator {
 public:
  using value_type = T;
  using is_always_equal = std::true_type;  // memory of one can be given back to another
  PixelAllocator() = default;
  explicit PixelAllocator(Filling filling) : filling_(filling) {}
  template <class U>
  explicit PixelAllocator(const PixelAllocator<U>& /*other*/) {}

  T* allocate(std::size_t count) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 2 / sizeof(T);
    void* const memory = count > kMost ? nullptr : pixelMemory(count * sizeof(T), filling_);
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t /*count*/) noexcept { std::free(memory); }

  template <class U>
  void construct(U* place) noexcept {
    ::new (static_cast<void*>(place)) U;
  }
  bool operator==(const PixelAllocator& /*other*/) const { return true; }

 private:
  Filling filling_ = Filling::None;
};

// Pixels in memory: rows top to bottom without padding, channels interleaved (1 grey, 2 grey and alpha, 3 RGB,
// 4 RGBA; alpha is not premultiplied). Byte holds 0-255, Word 0-65535 in native byte order, Float nominally 0-1.
// All values are display-referred (sRGB-encoded) unless the one who made the picture says otherwise.
class Image {
 public:
  Image() = default;  // empty: 0 x 0, no channels
  // Throws Error unless 1 <= width, height <= kMaxSide and 1 <= channels <= 4, and when memory is short.
  Image(int width, int height, int channels, Sample sample, Filling filling = Filling::Zero);

  int width() const { return width_; }
  int height() const { return height_; }
  int channels() const { return channels_; }
  Sample sample() const { return static_cast<Sample>(samples_.index()); }
  bool empty() const { return width_ == 0; }

  // First sample of row `y` (0 is the top one), width * channels samples. T is std::uint8_t, std::uint16_t or float
  // and must be the type of sample(); y must lie inside.
  template <class T>
  T* row(int y) {
    return std::get<Samples<T>>(samples_).data() + offset(y);
  }
  template <class T>
  const T* row(int y) const {
    return std::get<Samples<T>>(samples_).data() + offset(y);
  }

  // The same for the pixel at `x`, `y`, which must lie inside.
  template <class T>
  T* pixel(int x, int y) {
    return row<T>(y) + static_cast<std::ptrdiff_t>(x) * channels_;
  }
  template <class T>
  const T* pixel(int x, int y) const {
    return row<T>(y) + static_cast<std::ptrdiff_t>(x) * channels_;
  }

 private:
  template <class T>
  using Samples = std::vector<T, PixelAllocator<T>>;

  std::size_t offset(int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) * static_cast<std::size_t>(channels_);
  }

  int width_ = 0;
  int height_ = 0;
  int channels_ = 0;
  std::variant<Samples<std::uint8_t>, Samples<std::uint16_t>, Samples<float>> samples_;
};

// Calls `work` with a value of the type of `sample`, for loops that are written once for all three.
template <class Work>
decltype(auto) withSampleType(Sample sample, Work&& work) {
  switch (sample) {
    case Sample::Word:
      return work(std::uint16_t{});
    case Sample::Float:
      return work(float{});
    case Sample::Byte:
      break;
  }
  return work(std::uint8_t{});
}

}  // namespace quillmere::image
