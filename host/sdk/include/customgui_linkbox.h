#pragma once

#include "ge_prepass.h"

namespace cinema {

#define CUSTOMGUI_LINKBOX 1009415

}  // namespace cinema
