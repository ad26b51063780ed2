#pragma once

#include "c4d.h"

namespace quillmere {

// Draws the view as it is set up now into the bitmap, at the bitmap's size. False when the host doesn't offer that, or
// couldn't. The host documents no such operation; nothing else knows how it is reached.
bool DrawViewIntoBitmap(cinema::BaseDraw& view, cinema::BaseBitmap& bitmap);

}  // namespace quillmere
