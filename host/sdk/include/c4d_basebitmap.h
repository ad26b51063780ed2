#pragma once

#include <cstddef>

#include "c4d_basecontainer.h"

namespace cinema {

// A picture in memory.
class QM_HOST_API BaseBitmap {
 public:
  static BaseBitmap* Alloc();
  static void Free(BaseBitmap*& bm);

  // Loads a file in place of the present content.
  IMAGERESULT Init(const Filename& name, Int32 frame = -1, Bool* ismovie = nullptr);
  // Black, of that size and `depth` bits per pixel (1, 4, 8, 16, 24, 32, 64, 96), at most 16000 x 16000.
  IMAGERESULT Init(Int32 x, Int32 y, Int32 depth = 24, INITBITMAPFLAGS flags = INITBITMAPFLAGS::NONE);
  // `format` is a FILTER_; `data` may be null.
  IMAGERESULT Save(const Filename& name, Int32 format, BaseContainer* data, SAVEBIT savebits) const;

  Int32 GetBw() const;  // 0 before Init
  Int32 GetBh() const;  // 0 before Init
  Int32 GetBt() const;  // bits per pixel

  // 0-255 up to 32 bits per pixel, 0-65535 above; 0, 0, 0 outside the picture. This is asked for every pixel of a
  // picture: where they lie as nearly all pictures have them, it is answered without a call.
  void GetPixel(Int32 x, Int32 y, UInt16* r, UInt16* g, UInt16* b) const {
    const Bool lies = x >= 0 && y >= 0 && x < colors_.width && y < colors_.height;
    if (!lies || !r || !g || !b) return FindPixel(x, y, r, g, b);
    const std::size_t index = static_cast<std::size_t>(y) * static_cast<std::size_t>(colors_.width);
    const UChar* const pixel = colors_.first + 3 * (index + static_cast<std::size_t>(x));
    *r = pixel[0];
    *g = pixel[1];
    *b = pixel[2];
  }
  Bool SetPixel(Int32 x, Int32 y, Int32 r, Int32 g, Int32 b);  // 0-255

  // Scales a rectangle of this picture into one of `dst`, up or down. All corners are inclusive.
  void ScaleBicubic(BaseBitmap* dst, Int32 src_xmin, Int32 src_ymin, Int32 src_xmax, Int32 src_ymax, Int32 dst_xmin,
                    Int32 dst_ymin, Int32 dst_xmax, Int32 dst_ymax) const;

 private:
  BaseBitmap();
  BaseBitmap(const BaseBitmap&) = delete;
  BaseBitmap& operator=(const BaseBitmap&) = delete;
  ~BaseBitmap();

  void FindPixel(Int32 x, Int32 y, UInt16* r, UInt16* g, UInt16* b) const;

  // The pixels where each is three bytes, red, green and blue, rows without padding; otherwise 0 x 0.
  struct Colors {
    const UChar* first;  // the host's own, which renews this with every change of the picture
    Int32 width, height;
  };
  Colors colors_{};
  struct Parts;
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
