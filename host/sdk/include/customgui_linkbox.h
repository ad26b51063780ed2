#pragma once

#include "ge_prepass.h"

namespace cinema {

inline constexpr Int32 CUSTOMGUI_LINKBOX = 1009415;

}  // namespace cinema
