#pragma once

#include <OpenEXR/ImfHeader.h>

#include "decoding.h"

namespace quillmere::image {

// The header of the first part of an EXR file, after checks that the library leaves out before it takes memory:
// attributes lie inside the file, windows within kMaxSide, chunks within kMaxPictureBytes.
// Throws Error, or what the library throws.
Imf::Header checkedExrHeader(Bytes file);

}  // namespace quillmere::image
