#pragma once

#include <string>
#include <vector>

#include "c4d.h"

namespace quillmere {

// A workflow of the manager, both texts as they stand between the quotes of its state file.
struct WorkflowEntry {
  cinema::String id;
  cinema::String name;
};

// The workflows in the order of the state file, duplicates kept; empty when there is no readable file. Read afresh on
// every call, so the answer is never out of date.
std::vector<WorkflowEntry> LoadManagerWorkflows();

// The position plus one of the first workflow whose identifier or name mentions FLUX.2; else 1, or 0 for an empty
// catalog.
cinema::Int32 FindPreferredWorkflowSelection(const std::vector<WorkflowEntry>& workflows);

// Every byte through the C library's tolower.
std::string ToLowerAscii(std::string text);

}  // namespace quillmere
