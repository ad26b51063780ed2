#pragma once

#include "c4d.h"

namespace quillmere {

// Prints one line on the host's console, with the module's name in front.
void PrintLine(const cinema::String& text);

}  // namespace quillmere
