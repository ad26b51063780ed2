#pragma once

#include <filesystem>
#include <string>

#include "effect/plugin_location.h"
#include "finding.h"

namespace quillmere::app {

// Has the helper check the workflow in `file`, called `name`, and the back end that it names.
Finding checkWorkflow(const PluginFolder& plugin, const std::string& name, const std::filesystem::path& file);

}  // namespace quillmere::app
