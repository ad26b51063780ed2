#pragma once

#include "c4d.h"

namespace cinema {

// What C4DOS_Br offers before any substitute: the view through its scene camera at the size of `map`, with options 0.
// Only quick shading is modelled, so that must be the display mode of what is not selected, and nothing ever is.
Bool drawViewIntoBitmap(BaseDraw* bd, BaseBitmap* map, Int32 id);

}  // namespace cinema
