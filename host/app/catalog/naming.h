#pragma once

#include <string>

namespace quillmere::app {

// Throws Failure (usage) for a name that the catalog's reading, a menu or a terminal would lose or change.
void requireName(const std::string& name);

// Throws Failure (usage) for an identifier that is not made of ASCII letters, digits, dots, hyphens and underscores
// alone, that begins with a dot or is too long: with ".json" behind it, it names a file.
void requireId(const std::string& id);

// An identifier made from a file's name without its ending: what can't stand in one becomes a hyphen.
std::string idFrom(const std::string& stem);

}  // namespace quillmere::app
