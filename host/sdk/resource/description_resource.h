#pragma once

#include <string>
#include <vector>

#include "resource/scanner.h"

namespace quillmere::host::resource {

// "DEFAULT 1;" or "CYCLE { A; B; }": what stands behind the name.
struct Property {
  Token name;
  std::vector<Token> values;
};

// "LONG ID { ... }", or a group with its members.
struct Element {
  Token type;
  Token symbol;  // End for an element without one
  std::vector<Property> properties;
  std::vector<Element> members;
};

struct DescriptionResource {
  std::string name;
  std::vector<Token> includes;  // the descriptions it builds on
  Element content;              // what stands in CONTAINER
};

// Reads the form of a file "CONTAINER name { ... }". Which types and properties there are, the reader of the result
// decides. Groups within groups end at 32 levels. Throws Damage.
DescriptionResource readDescriptionResource(const std::filesystem::path& file);

}  // namespace quillmere::host::resource
