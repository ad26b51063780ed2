#pragma once

#include "c4d.h"
#include "pixel_store.h"

namespace cinema {

// What stands behind a bitmap of the API, and its operations before any substitute. Nothing here throws unless it says
// so.
template <>
struct HostSide<BaseBitmap> {
  static BaseBitmap* make();  // null when there is no memory left
  static const quillmere::host::PixelStore& pixels(const BaseBitmap& bitmap);

  static IMAGERESULT init(BaseBitmap& bitmap, Int32 width, Int32 height, Int32 depth);
  static IMAGERESULT load(BaseBitmap& bitmap, const Filename& name);
  static IMAGERESULT save(const BaseBitmap& bitmap, const Filename& name, Int32 format, SAVEBIT bits);

  // Puts a picture of just its size into the bitmap. False, with the bitmap as it was, when that fails.
  static bool show(BaseBitmap& bitmap, quillmere::image::Image picture);

  // Runs `step` on the bitmap's pixels, which may throw; `otherwise` is what a picture that it refuses means.
  template <class Step>
  static IMAGERESULT change(BaseBitmap& bitmap, IMAGERESULT otherwise, Step&& step);
};

}  // namespace cinema
