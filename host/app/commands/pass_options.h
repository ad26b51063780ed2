#pragma once

#include <string>
#include <vector>

#include "passes/pass_settings.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// --depth-range, --depth-kind and --normal-kind.
void addPassSettings(CLI::App& command, PassSettings& settings);
// The same and --pass, whose names go to `passes`, and --line-color.
void addPassOptions(CLI::App& command, std::vector<std::string>& passes, PassSettings& settings);

}  // namespace quillmere::app
