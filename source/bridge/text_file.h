#pragma once

#include <string>

#include "c4d.h"

namespace quillmere {

// All bytes of the file; empty when it can't be opened or read, or is empty.
std::string ReadFileBytes(const cinema::Filename& path);

// The file's content as UTF-8, up to the first NUL byte; empty when it can't be opened or read.
cinema::String ReadTextFile(const cinema::Filename& path);

// Replaces the file's content, or makes the file; its folder must be there. True when the file was opened and took all
// of `content`; what only fails while the file is being closed goes unnoticed.
bool WriteTextFile(const cinema::Filename& path, const std::string& content);

}  // namespace quillmere
