#pragma once

#include "c4d_file.h"

namespace cinema {

QM_HOST_API void GePrint(const maxon::String& str);  // a line on the console
QM_HOST_API void CallCommand(Int32 id, Int32 subid = 0);

// Opens the picture viewer with a copy of the picture.
QM_HOST_API Bool ShowBitmap(BaseBitmap* bm);

}  // namespace cinema
