#pragma once

#include <string>
#include <vector>

#include "resource/scanner.h"

namespace quillmere::host::resource {

struct Group {
  Token symbol;
  std::vector<Group> members;
};

struct DescriptionResource {
  Token name;
  std::vector<Token> includes;  // the descriptions it builds on
  std::vector<Group> groups;
};

// Reads a file "CONTAINER name { ... }" of includes and groups, which may lie in each other 32 levels deep. What a
// group looks like is left to panels. Throws Error, also for parameters and for all else that descriptions can hold:
// the host knows no module that brings them in a file.
DescriptionResource readDescriptionResource(const std::filesystem::path& file);

}  // namespace quillmere::host::resource
