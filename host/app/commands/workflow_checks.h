#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <utility>
#include <vector>

#include "commands.h"
#include "options.h"

namespace quillmere::app {

// Adds the sub-commands of `workflows` that look at one workflow and change nothing, each with what to do when it was
// chosen: `check` and `controls`.
std::vector<std::pair<CLI::App*, Action>> addWorkflowChecks(CLI::App& workflows);

}  // namespace quillmere::app
