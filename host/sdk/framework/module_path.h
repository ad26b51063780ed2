#pragma once

#include "c4d_file.h"

namespace cinema {

// The module's own file, as the host told with the first call; empty before.
Filename& ModulePath();

}  // namespace cinema
