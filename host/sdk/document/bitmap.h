#pragma once

#include "c4d.h"
#include "document/pixel_store.h"

namespace cinema {

struct BaseBitmap::Parts {
  quillmere::host::PixelStore pixels;
};

// The host's side of a bitmap. Nothing here throws.
template <>
struct HostSide<BaseBitmap> {
  static BaseBitmap* make();  // null when there is no memory left
  static const quillmere::host::PixelStore& pixels(const BaseBitmap& bitmap) { return bitmap.parts_->pixels; }

  // Puts a picture of just its size into the bitmap. False, with the bitmap as it was, when that fails.
  static bool show(BaseBitmap& bitmap, quillmere::image::Image picture);

  // Runs `step` on the bitmap's pixels, which may throw; `otherwise` is what a picture that it refuses means.
  template <class Step>
  static IMAGERESULT change(BaseBitmap& bitmap, IMAGERESULT otherwise, Step&& step);
};

}  // namespace cinema
