#include "pixel_store.h"

#include <algorithm>
#include <utility>

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
    {48, 3, image::Sample::Word}, {64, 4, image::Sample::Word}, {96, 3, image::Sample::Float},
};

const Layout* layoutOf(int depth) {
  const auto* found = std::ranges::find(kLayouts, depth, &Layout::depth);
  return found == std::end(kLayouts) ? nullptr : found;
}

image::Image blank(int width, int height, int depth) {
  const Layout* layout = layoutOf(depth);
  if (layout == nullptr)
    throw image::Error("cannot make a bitmap: depth " + std::to_string(depth) + " is not modelled");
  return {width, height, layout->channels, layout->sample};
}

int depthOf(image::Sample sample) {
  switch (sample) {
    case image::Sample::Byte:
      return 24;
    case image::Sample::Word:
      return 48;
    case image::Sample::Float:
      break;
  }
  return 96;
}

std::uint16_t component(std::uint8_t value) {
  return value;
}
std::uint16_t component(std::uint16_t value) {
  return value;
}
std::uint16_t component(float value) {
  if (!(value > 0.0F)) return 0;  // also not-a-number
  return static_cast<std::uint16_t>(std::min(value, 1.0F) * 65535.0F + 0.5F);
}

void store(std::uint8_t& sample, int value) {
  sample = static_cast<std::uint8_t>(value);
}
void store(std::uint16_t& sample, int value) {
  sample = static_cast<std::uint16_t>(value * 257);
}
void store(float& sample, int value) {
  sample = static_cast<float>(value) / 255.0F;
}

template <class T>
PixelStore::Rgb read(const image::Image& pixels, int x, int y) {
  const int channels = pixels.channels();
  const T* pixel = pixels.row<T>(y) + static_cast<std::ptrdiff_t>(x) * channels;
  if (channels < 3) return {component(pixel[0]), component(pixel[0]), component(pixel[0])};
  return {component(pixel[0]), component(pixel[1]), component(pixel[2])};
}

template <class T>
void write(image::Image& pixels, int x, int y, const int (&rgb)[3]) {
  const int channels = pixels.channels();
  T* pixel = pixels.row<T>(y) + static_cast<std::ptrdiff_t>(x) * channels;
  if (channels < 3) return store(pixel[0], (rgb[0] + rgb[1] + rgb[2]) / 3);
  for (int channel = 0; channel < 3; ++channel) store(pixel[channel], rgb[channel]);
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
  const Span columns = clip(left, left + picture.width() - 1, to.width());
  const Span rows = clip(top, top + picture.height() - 1, to.height());
  for (std::int64_t y = rows.first; y < rows.first + rows.count; ++y) {
    const T* source = picture.row<T>(narrow(y - top)) + (columns.first - left) * to.channels();
    std::copy_n(source, columns.count * to.channels(), to.row<T>(narrow(y)) + columns.first * to.channels());
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

PixelStore::Rgb PixelStore::at(int x, int y) const {
  if (!inside(x, y)) return {};
  switch (pixels_.sample()) {
    case image::Sample::Byte:
      return read<std::uint8_t>(pixels_, x, y);
    case image::Sample::Word:
      return read<std::uint16_t>(pixels_, x, y);
    case image::Sample::Float:
      break;
  }
  return read<float>(pixels_, x, y);
}

bool PixelStore::set(int x, int y, int r, int g, int b) {
  if (!inside(x, y)) return false;
  const int rgb[3] = {std::clamp(r, 0, 255), std::clamp(g, 0, 255), std::clamp(b, 0, 255)};
  switch (pixels_.sample()) {
    case image::Sample::Byte:
      write<std::uint8_t>(pixels_, x, y, rgb);
      break;
    case image::Sample::Word:
      write<std::uint16_t>(pixels_, x, y, rgb);
      break;
    case image::Sample::Float:
      write<float>(pixels_, x, y, rgb);
      break;
  }
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
  image::Image scaled = matching(image::scaleBicubic(pixels_, area, narrow(wide), narrow(high)), target.pixels_);
  if (to.left == 0 && to.top == 0 && wide == target.width() && high == target.height()) {
    target.pixels_ = std::move(scaled);
    return;
  }
  switch (target.pixels_.sample()) {
    case image::Sample::Byte:
      paste<std::uint8_t>(scaled, to.left, to.top, target.pixels_);
      break;
    case image::Sample::Word:
      paste<std::uint16_t>(scaled, to.left, to.top, target.pixels_);
      break;
    case image::Sample::Float:
      paste<float>(scaled, to.left, to.top, target.pixels_);
      break;
  }
}

}  // namespace quillmere::host
