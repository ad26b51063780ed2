#include "document/pixel_store.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "image/conversion.h"
#include "image/scaling.h"

namespace quillmere::host {
namespace {

struct Layout {
  int depth, channels;
  image::Sample sample;
};

// Of the depths the application documents, 1, 4 and 16 are left out: nothing here could show what they hold.
constexpr Layout kLayouts[] = {
    {8, 1, image::Sample::Byte},  {24, 3, image::Sample::Byte}, {32, 3, image::Sample::Byte},
    {48, 3, image::Sample::Word}, {64, 3, image::Sample::Word}, {96, 3, image::Sample::Float},
};

const Layout* layoutOf(int depth) {
  const auto* found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts), [&](const Layout& one) { return one.depth == depth; });
  return found == std::end(kLayouts) ? nullptr : found;
}

image::Image blank(int width, int height, int depth) {
  const Layout* layout = layoutOf(depth);
  if (layout == nullptr) throw Error("cannot make a bitmap: depth " + std::to_string(depth) + " is not modelled");
  return {width, height, layout->channels, layout->sample};
}

int depthOf(image::Sample sample) {
  return sample == image::Sample::Byte ? 24 : sample == image::Sample::Word ? 48 : 96;
}

// Byte samples are shown as they are, all others with 16 bits.
template <class T>
std::uint16_t component(T sample) {
  if constexpr (std::is_same_v<T, std::uint8_t>)
    return sample;
  else
    return image::sampleAs<std::uint16_t>(sample);
}

struct Destination {
  std::uint16_t *r, *g, *b;  // null for what nobody wants
};

void give(const Destination& to, std::uint16_t r, std::uint16_t g, std::uint16_t b) {
  if (to.r) *to.r = r;
  if (to.g) *to.g = g;
  if (to.b) *to.b = b;
}

template <class T>
void readPixel(const image::Image& pixels, int x, int y, const Destination& to) {
  const std::ptrdiff_t channels = pixels.channels(), colors = channels < 3 ? 0 : 1;
  const T* pixel = pixels.row<T>(y) + x * channels;
  give(to, component(pixel[0]), component(pixel[colors]), component(pixel[2 * colors]));
}

template <class T>
void writePixel(image::Image& pixels, int x, int y, const std::array<std::uint8_t, 3>& rgb) {
  T* pixel = pixels.row<T>(y) + static_cast<std::ptrdiff_t>(x) * pixels.channels();
  if (pixels.channels() < 3) {
    pixel[0] = image::sampleAs<T>(static_cast<std::uint8_t>((rgb[0] + rgb[1] + rgb[2]) / 3));
    return;
  }
  for (std::size_t channel = 0; channel < 3; ++channel) pixel[channel] = image::sampleAs<T>(rgb[channel]);
}

// The part of pixels first…last (both inclusive) that lies in 0…size-1; a count below 1 means none.
struct Span {
  std::int64_t first, count;
};
Span clip(std::int64_t first, std::int64_t last, int size) {
  const std::int64_t from = std::max<std::int64_t>(first, 0);
  return {from, std::min<std::int64_t>(last, size - 1) - from + 1};
}

int narrow(std::int64_t value) {
  return static_cast<int>(value);
}

// Copies a picture of to's layout so that its first pixel comes to lie at left, top of `to`; the rest is clipped.
template <class T>
void paste(const image::Image& picture, std::int64_t left, std::int64_t top, image::Image& to) {
  const std::int64_t channels = to.channels();
  const Span columns = clip(left, left + picture.width() - 1, to.width());
  const Span rows = clip(top, top + picture.height() - 1, to.height());
  for (std::int64_t y = rows.first; y < rows.first + rows.count; ++y) {
    const T* source = picture.row<T>(narrow(y - top)) + (columns.first - left) * channels;
    std::copy_n(source, columns.count * channels, to.row<T>(narrow(y)) + columns.first * channels);
  }
}

// The samples of `picture` as those of `like`.
image::Image matching(image::Image picture, const image::Image& like) {
  if (picture.channels() != like.channels()) picture = image::withChannels(picture, like.channels());
  if (picture.sample() != like.sample()) picture = image::convert(picture, like.sample());
  return picture;
}

}  // namespace

PixelStore::PixelStore(image::Image decoded) : pixels_(std::move(decoded)), depth_(depthOf(pixels_.sample())) {
  if (pixels_.channels() % 2 == 0) pixels_ = image::withChannels(pixels_, pixels_.channels() - 1);
}

PixelStore::PixelStore(int width, int height, int depth) : pixels_(blank(width, height, depth)), depth_(depth) {}

bool PixelStore::depthIsModelled(int depth) {
  return layoutOf(depth) != nullptr;
}

const std::uint8_t* PixelStore::colorBytes() const {
  const bool are = pixels_.channels() == 3 && pixels_.sample() == image::Sample::Byte;
  return are ? pixels_.row<std::uint8_t>(0) : nullptr;
}

void PixelStore::read(int x, int y, std::uint16_t* r, std::uint16_t* g, std::uint16_t* b) const {
  const Destination to{r, g, b};
  if (!inside(x, y)) return give(to, 0, 0, 0);
  image::withSampleType(pixels_.sample(), [&]<class T>(T) { readPixel<T>(pixels_, x, y, to); });
}

bool PixelStore::set(int x, int y, int r, int g, int b) {
  if (!inside(x, y)) return false;
  const auto byte = [](int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); };
  image::withSampleType(pixels_.sample(), [&]<class T>(T) {
    writePixel<T>(pixels_, x, y, {byte(r), byte(g), byte(b)});
  });
  return true;
}

bool PixelStore::replace(image::Image picture) {
  if (picture.width() != width() || picture.height() != height()) return false;
  pixels_ = matching(std::move(picture), pixels_);
  return true;
}

void PixelStore::stretch(const Corners& from, PixelStore& target, const Corners& to) const {
  const Span columns = clip(from.left, from.right, width()), rows = clip(from.top, from.bottom, height());
  const std::int64_t wide = to.right - to.left + 1, high = to.bottom - to.top + 1;
  const bool misses = columns.count < 1 || rows.count < 1 || clip(to.left, to.right, target.width()).count < 1 ||
                      clip(to.top, to.bottom, target.height()).count < 1;
  if (misses || wide > image::kMaxSide || high > image::kMaxSide) return;

  const image::Area area{narrow(columns.first), narrow(rows.first), narrow(columns.count), narrow(rows.count)};
  const bool whole = to.left == 0 && to.top == 0 && wide == target.width() && high == target.height();
  const bool alike = pixels_.channels() == target.pixels_.channels() && pixels_.sample() == target.pixels_.sample();
  // No other picture of that size: for the system, clearing its memory is as much work as scaling.
  if (whole && alike && &target != this) return image::scaleBicubicInto(target.pixels_, pixels_, area);
  image::Image scaled = matching(image::scaleBicubic(pixels_, area, narrow(wide), narrow(high)), target.pixels_);
  if (whole) {
    target.pixels_ = std::move(scaled);
    return;
  }
  image::withSampleType(target.pixels_.sample(),
                        [&]<class T>(T) { paste<T>(scaled, to.left, to.top, target.pixels_); });
}

}  // namespace quillmere::host
