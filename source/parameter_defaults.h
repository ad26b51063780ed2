#pragma once

#include "c4d.h"

namespace quillmere {

// Writes what a new node starts with: the table's defaults, the output directory (which is not made here) and the
// catalog's preferred workflow, in this order. The camera link stays empty.
void WriteDefaults(cinema::BaseContainer& settings);

}  // namespace quillmere
