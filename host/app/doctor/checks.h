#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "effect/effect_session.h"
#include "helper_check.h"

namespace quillmere::app {

// A render that is thought of.
struct IntendedRender {
  std::string workflow;         // as --workflow takes it; empty: what a render takes without
  std::filesystem::path scene;  // empty: any
};

// Looks at what that render needs, and at nothing else. As below.
std::vector<Finding> examineFor(const IntendedRender& render, const PluginFolder& plugin,
                                const std::filesystem::path& writeDirectory);

// Looks at everything that renders need, in the order in which it needs it. What is broken is a finding, never an
// exception. Nothing is left behind but the write directory.
std::vector<Finding> examine(const PluginFolder& plugin, const std::filesystem::path& writeDirectory);

}  // namespace quillmere::app
