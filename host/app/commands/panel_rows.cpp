#include "panel_rows.h"

#include "effect/parameter_ids.h"

namespace quillmere::app {
namespace {

std::vector<PanelRow::Choice> choicesOf(const Parameter& parameter, const host::Document& document) {
  std::vector<PanelRow::Choice> choices;
  for (const auto& [value, text] : parameter.choices) choices.push_back({value, text});
  if (parameter.kind != Parameter::Kind::Camera) return choices;
  for (const host::Document::Camera& camera : document.cameras()) choices.push_back({camera.name, camera.name});
  return choices;
}

// The menu says "None" as well where a workflow is kept that it doesn't hold.
std::string noteOf(const Parameter& parameter, const NodeParameters& node) {
  const std::string file = node.text(QUILLMERE_WORKFLOW_PATH), id = node.text(QUILLMERE_WORKFLOW_ID);
  if (parameter.id != QUILLMERE_WORKFLOW || node.number(QUILLMERE_WORKFLOW) != 0 || file.empty()) return {};
  return (id.empty() ? "" : "'" + id + "' is not in the catalog; ") + "renders with " + file;
}

}  // namespace

std::vector<PanelRow> panelRows(const NodeParameters& node, const host::Document& document) {
  std::vector<PanelRow> rows;
  for (const Parameter& parameter : node.panel()) {
    rows.push_back({parameter, node.value(parameter), node.editable(parameter), choicesOf(parameter, document),
                    noteOf(parameter, node)});
  }
  return rows;
}

}  // namespace quillmere::app
