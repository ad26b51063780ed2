#pragma once

#include <vector>

#include "c4d.h"
#include "workflow_catalog.h"

// The workflow menu's value: 0 for none, n for the catalog's n-th workflow. What lasts is the chosen workflow's
// identifier and path, so that a choice outlives changes of the catalog's order.
namespace quillmere {

// Where the stored identifier stands in the catalog now; 0 when it isn't there.
cinema::Int32 StoredSelection(const cinema::BaseContainer& settings);

// Stores the selection as it is, and with it the workflow's identifier and path, both empty when it designates none.
void StoreSelection(cinema::BaseContainer& settings, cinema::Int32 selection,
                    const std::vector<WorkflowEntry>& workflows);

// Stores the catalog's preferred workflow; nothing for null.
void SyncPreferredWorkflow(cinema::BaseContainer* settings);

}  // namespace quillmere
