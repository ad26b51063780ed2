#include "view_drawing.h"

#include "operatingsystem.h"

namespace quillmere {

using namespace cinema;

bool DrawViewIntoBitmap(BaseDraw& view, BaseBitmap& bitmap) {
  constexpr Int32 kNoOptions = 0;
  return C4DOS_Br && C4DOS_Br->GetViewPortBitmap && C4DOS_Br->GetViewPortBitmap(&view, &bitmap, kNoOptions);
}

}  // namespace quillmere
