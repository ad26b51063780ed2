#pragma once

#include <filesystem>
#include <string>

#include "effect/effect_session.h"
#include "state_text.h"

namespace quillmere::app {

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
