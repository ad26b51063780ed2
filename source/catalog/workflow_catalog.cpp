#include "workflow_catalog.h"

#include <cctype>

#include "../bridge/text.h"
#include "../bridge/text_file.h"
#include "catalog_scan.h"
#include "manager_files.h"

namespace quillmere {

using namespace cinema;

namespace {

bool MentionsFlux2(const String& text) {
  const std::string lower = ToLowerAscii(ToUtf8(text));
  return lower.find("flux.2") != std::string::npos || lower.find("flux2") != std::string::npos;
}

}  // namespace

std::vector<WorkflowEntry> LoadManagerWorkflows() {
  std::vector<WorkflowEntry> workflows;
  const std::string state = ReadFileBytes(GetStateFile());
  for (const CatalogMatch& match : ScanCatalog(state)) {
    workflows.push_back({FromUtf8(std::string(match.id)), FromUtf8(std::string(match.name))});
  }
  return workflows;
}

Int32 FindPreferredWorkflowSelection(const std::vector<WorkflowEntry>& workflows) {
  for (std::size_t i = 0; i < workflows.size(); ++i) {
    if (MentionsFlux2(workflows[i].id) || MentionsFlux2(workflows[i].name)) return Int32(i + 1);
  }
  return workflows.empty() ? 0 : 1;
}

std::string ToLowerAscii(std::string text) {
  for (char& c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace quillmere
