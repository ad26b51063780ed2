#pragma once

#include "ge_prepass.h"

namespace cinema {

// The host's table of view operations. An entry may be null: the host doesn't offer it.
struct C4D_BaseDraw {
  // Draws the view through its scene camera into `map`, at the size of `map`. True when it was drawn.
  Bool (*GetViewPortBitmap)(BaseDraw* bd, BaseBitmap* map, Int32 id);
};

// Behind C4DOS_Br, never null.
extern QM_HOST_API C4D_BaseDraw* const ViewOperations;

}  // namespace cinema

#define C4DOS_Br (::cinema::ViewOperations)
