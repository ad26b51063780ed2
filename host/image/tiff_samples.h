#pragma once

#include <tiffio.h>

#include <optional>

#include "image.h"

namespace quillmere::image {

// How the samples lie in a TIFF file that needs no colour conversion.
struct TiffLayout {
  int width = 0, height = 0;
  int bytes = 1;          // of a sample in the file
  bool floating = false;  // otherwise unsigned
  bool whiteIsZero = false;
  bool planes = false;  // one after the other, otherwise interleaved
  bool tiled = false;
  int stored = 1;                // samples a pixel in the file
  int colors = 1;                // of which the first 1 or 3 are colours
  std::optional<int> alpha;      // and this one alpha, with which the colours
  bool alphaMultiplied = false;  // may have been multiplied
};

// The picture that `file`, whose sizes have been checked, holds in that layout. Throws Error; the reason may come from
// the library's error handler instead.
Image readTiffSamples(TIFF* file, const TiffLayout& layout);

// Takes the multiplication by the last channel, alpha, back.
void divideByAlpha(Image& picture);

}  // namespace quillmere::image
