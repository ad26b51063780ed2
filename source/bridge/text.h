#pragma once

#include <string>

#include "c4d.h"

namespace quillmere {

// The text in UTF-8, without a terminator.
std::string ToUtf8(const cinema::String& text);

// Ends at the first NUL byte; what follows is lost.
cinema::String FromUtf8(const std::string& utf8);

}  // namespace quillmere
