#include "workflow_selection.h"

#include "../../res/description/vpquillmere.h"
#include "manager_files.h"

namespace quillmere {

using namespace cinema;

Int32 StoredSelection(const BaseContainer& settings) {
  const String id = settings.GetString(QUILLMERE_WORKFLOW_ID);
  const std::vector<WorkflowEntry> workflows = LoadManagerWorkflows();
  for (std::size_t i = 0; i < workflows.size(); ++i) {
    if (workflows[i].id == id) return Int32(i + 1);
  }
  return 0;
}

void StoreSelection(BaseContainer& settings, Int32 selection, const std::vector<WorkflowEntry>& workflows) {
  String id, path;
  if (selection > 0 && std::size_t(selection) <= workflows.size()) {
    id = workflows[std::size_t(selection) - 1].id;
    path = GetWorkflowCachePath(id).GetString();
  }
  settings.SetInt32(QUILLMERE_WORKFLOW, selection);
  settings.SetString(QUILLMERE_WORKFLOW_ID, id);
  settings.SetString(QUILLMERE_WORKFLOW_PATH, path);
}

void SyncPreferredWorkflow(BaseContainer* settings) {
  if (!settings) return;
  const std::vector<WorkflowEntry> workflows = LoadManagerWorkflows();
  StoreSelection(*settings, FindPreferredWorkflowSelection(workflows), workflows);
}

}  // namespace quillmere
