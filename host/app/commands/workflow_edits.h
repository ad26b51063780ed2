#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "options.h"

namespace quillmere::app {

// A sub-command of `workflows`, and what it does to the list before that is printed. Throws what main prints.
using WorkflowEdit = std::pair<CLI::App*, std::function<void()>>;

// Adds those that change the list. `session` must outlive what is returned.
std::vector<WorkflowEdit> addWorkflowEdits(CLI::App& workflows, const SessionOptions& session);

}  // namespace quillmere::app
