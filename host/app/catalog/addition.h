#pragma once

#include <filesystem>
#include <string>

#include "effect/effect_session.h"
#include "state_text.h"

namespace quillmere::app {

// Throws Failure (usage) for a name that the catalog's reading, a menu or a terminal would lose or change.
void requireName(const std::string& name);

// Throws Failure (usage) for an identifier that is not made of ASCII letters, digits, dots, hyphens and underscores
// alone, that begins with a dot or is too long: with ".json" behind it, it names a file.
void requireId(const std::string& id);

// An identifier made from a file's name without its ending: what can't stand in one becomes a hyphen.
std::string idFrom(const std::string& stem);

// A workflow file that is to be listed under a name and an identifier.
struct Addition {
  enum class Check { Asked, Skipped };

  std::filesystem::path file;
  StateEntry as;
  Check check = Check::Asked;
};

// Has the helper check the file, copies it to where the effect expects the identifier's workflow, unless it lies there
// already, and lists it. What keeps the workflow from being rendered here and now is a warning on standard error.
// Throws Failure and Error for what can't be listed; the list is then as it was, and no copy is left.
void addWorkflow(const Addition& addition, const PluginFolder& plugin);

}  // namespace quillmere::app
