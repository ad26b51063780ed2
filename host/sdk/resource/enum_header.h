#pragma once

#include <map>
#include <string>

#include "resource/scanner.h"

namespace quillmere::host::resource {

using Symbols = std::map<std::string, int>;

// The header of IDs beside a description, or of all texts (c4d_symbols.h): plain enums, their brace on a line of its
// own, with explicit values (whole numbers, or symbols known before) and implicit ones. Adds to `symbols`. Throws
// Error, also when a name gets two values.
void readEnumHeader(const std::filesystem::path& file, Symbols& symbols);

}  // namespace quillmere::host::resource
