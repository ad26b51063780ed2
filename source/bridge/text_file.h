#pragma once

#include <string>

#include "c4d.h"

namespace quillmere {

// All bytes of the file; empty when it can't be opened or read, or is empty. A folder, a pipe or a device is no file:
// it is empty, too, and isn't waited for.
std::string ReadFileBytes(const cinema::Filename& path);

// What ReadFileBytes reads as UTF-8, up to the first NUL byte.
cinema::String ReadTextFile(const cinema::Filename& path);

// Replaces the file's content, or makes the file; its folder must be there. True when the file was opened and took all
// of `content`; what only fails while the file is being closed goes unnoticed. False for a pipe, without waiting.
bool WriteTextFile(const cinema::Filename& path, const std::string& content);

}  // namespace quillmere
