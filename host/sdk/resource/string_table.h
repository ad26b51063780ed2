#pragma once

#include <map>
#include <string>

#include "resource/scanner.h"

namespace quillmere::host::resource {

// The texts of a file "STRINGTABLE [name] { SYMBOL "text"; ... }" by symbol, as UTF-8. Texts that stand side by side
// are one. Throws Damage.
std::map<std::string, std::string> readStringTable(const std::filesystem::path& file);

}  // namespace quillmere::host::resource
