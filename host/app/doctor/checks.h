#pragma once

#include <filesystem>
#include <vector>

#include "effect/effect_session.h"
#include "helper_check.h"

namespace quillmere::app {

// Looks at everything that a render needs, in the order in which it needs it. What is broken is a finding, never an
// exception. Nothing is left behind but the write directory.
std::vector<Finding> examine(const PluginFolder& plugin, const std::filesystem::path& writeDirectory);

}  // namespace quillmere::app
