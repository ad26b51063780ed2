#pragma once

#include <cstdint>

#include "image/image.h"

namespace quillmere::host {

// The pixels of a bitmap in the terms of the host's API: a depth in bits per pixel that counts the colours alone, and
// components of 0-255 up to 32 bits per pixel, 0-65535 above. There is no alpha: one that a file brings is left out.
class PixelStore {
 public:
  // Corners of a rectangle of pixels, both inclusive.
  struct Corners {
    std::int64_t left, top, right, bottom;
  };

  PixelStore() = default;  // empty

  // A decoded picture: 24 bits per pixel for Byte samples, 48 for Word, 96 for Float.
  explicit PixelStore(image::Image decoded);

  // Black, of a depth for which depthIsModelled holds. Throws Error for an impossible size.
  PixelStore(int width, int height, int depth);
  static bool depthIsModelled(int depth);

  int width() const { return pixels_.width(); }
  int height() const { return pixels_.height(); }
  int depth() const { return depth_; }
  const image::Image& pixels() const { return pixels_; }

  // The first byte of pixels that are three bytes each, red, green and blue, rows without padding. Null for others.
  const std::uint8_t* colorBytes() const;

  // Black outside. Each component goes straight to where it is wanted, unless that is null: this may be
  // asked for every pixel of a picture, and a value that is first put together costs more than the reading.
  void read(int x, int y, std::uint16_t* r, std::uint16_t* g, std::uint16_t* b) const;
  bool set(int x, int y, int r, int g, int b);  // 0-255 whatever the depth, clamped; false outside
  bool replace(image::Image picture);           // takes a picture of just this size; false when it has another
  // Fills `to` of `target` with `from` of this, stretched. What lies outside of either is left out; rectangles that are
  // inside out, miss the picture or are longer than image::kMaxSide change nothing. Throws Error.
  void stretch(const Corners& from, PixelStore& target, const Corners& to) const;

 private:
  bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < pixels_.width() && y < pixels_.height(); }

  image::Image pixels_;
  int depth_ = 0;
};

}  // namespace quillmere::host
