#include "node_setup.h"

#include <algorithm>
#include <climits>
#include <set>

#include "effect/accepted_value.h"
#include "effect/parameter_ids.h"
#include "effect/workflow_choice.h"
#include "sdk/core/text.h"
#include "settings_file.h"
#include "values/failure.h"
#include "values/utf8_text.h"

namespace quillmere::app {
namespace {

using Json = nlohmann::ordered_json;
using Kind = Parameter::Kind;

struct Setting {
  const Parameter* parameter;
  std::string value;
};

std::vector<Setting> inPanelOrder(const NodeParameters& node, const EffectOptions& options, const std::string& camera) {
  std::vector<Setting> settings;
  if (!camera.empty()) settings.push_back({&node.find(QUILLMERE_CAMERA), camera});
  for (const Assignment& one : options.assignments) settings.push_back({&node.find(one.parameter), one.value});
  const auto place = [](const Setting& setting) { return setting.parameter->place.value_or(INT_MAX); };
  std::stable_sort(settings.begin(), settings.end(),
                   [&](const Setting& a, const Setting& b) { return place(a) < place(b); });
  return settings;
}

bool hasKindOf(const Json& value, Kind kind) {
  switch (kind) {
    case Kind::Bool:
      return value.is_boolean();
    case Kind::Whole:
      return value.is_number_integer();
    case Kind::Camera:
      return value.is_string() || value.is_null();
    case Kind::Text:
    case Kind::File:
    case Kind::ReadOnly:
    case Kind::Derived:
      break;
  }
  return value.is_string();
}

// The value as the node stores it. What only the effect writes is taken back as it was written.
cinema::GeData stored(const Parameter& parameter, const Json& value, const host::Document& document) {
  if (!hasKindOf(value, parameter.kind)) {
    refuseValue(parameter, {}, "a value of another type", "see docs/parameters.md for its type");
  }
  const std::string text = value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
  if (parameter.kind == Kind::ReadOnly || parameter.kind == Kind::Derived) {
    requireUtf8(parameter.name, text);
    return {host::fromUtf8(text)};
  }
  return acceptedValue(parameter, text, document);
}

// A workflow that the catalog still has is chosen where it stands now; another is kept as it is.
void storeWorkflow(NodeParameters& node, const Json& settings, const host::Document& document) {
  const auto textOf = [&](int id) {
    const Parameter& parameter = node.find(id);
    return settings.contains(parameter.name)
               ? host::toUtf8(stored(parameter, settings[parameter.name], document).GetString())
               : std::string();
  };
  const std::string id = textOf(QUILLMERE_WORKFLOW_ID), file = textOf(QUILLMERE_WORKFLOW_PATH);
  const Parameter& menu = node.find(QUILLMERE_WORKFLOW);
  const Json number = settings.value(menu.name, Json(0));
  if (!number.is_number_integer() || number < 0 || number > INT_MAX || (id.empty() && file.empty() && number != 0)) {
    refuseValue(menu, {}, "a workflow is kept by its identifier", "give QUILLMERE_WORKFLOW_ID");
  }
  const std::vector<Workflow> catalog = catalogOf(node);
  const auto found =
      std::find_if(catalog.begin(), catalog.end(), [&](const Workflow& one) { return !id.empty() && one.id == id; });
  if (found != catalog.end()) return node.set(menu, std::to_string(found->number));
  node.store(QUILLMERE_WORKFLOW, number.get<int>());
  node.store(QUILLMERE_WORKFLOW_ID, id);
  node.store(QUILLMERE_WORKFLOW_PATH, file);
}

bool isWorkflow(int id) {
  return id == QUILLMERE_WORKFLOW || id == QUILLMERE_WORKFLOW_ID || id == QUILLMERE_WORKFLOW_PATH;
}

// Straight into the container, as an application opens a document: greyed-out fields have their values too.
WorkflowGiven restore(NodeParameters& node, host::Document& document, const Json& settings,
                      const std::set<int>& overridden) {
  WorkflowGiven given = WorkflowGiven::No;
  for (const Parameter& parameter : node.all()) {
    if (!settings.contains(parameter.name)) continue;
    if (isWorkflow(parameter.id)) {
      given = WorkflowGiven::Yes;
    } else if (overridden.count(parameter.id) == 0) {
      node.store(parameter.id, stored(parameter, settings[parameter.name], document));
    }
  }
  const bool kept = given == WorkflowGiven::Yes && overridden.count(QUILLMERE_WORKFLOW) == 0;
  if (kept) storeWorkflow(node, settings, document);
  return given;
}

WorkflowGiven restoreFile(NodeParameters& node, host::Document& document, const std::string& file,
                          const std::set<int>& overridden) {
  const Json settings = readSettings(node, file);
  try {
    return restore(node, document, settings, overridden);
  } catch (const Failure& failure) {
    throw Failure(ExitStatus::Failed, "settings '" + file + "'", failure.what());
  }
}

}  // namespace

WorkflowGiven setUpNode(NodeParameters& node, host::Document& document, const EffectOptions& options,
                        const std::string& camera) {
  const std::vector<Setting> settings = inPanelOrder(node, options, camera);
  std::set<int> given;
  for (const Setting& setting : settings) given.insert(setting.parameter->id);
  if (!options.workflow.empty()) given.insert(QUILLMERE_WORKFLOW);
  bool workflow = given.count(QUILLMERE_WORKFLOW) > 0;
  if (!options.settings.empty()) {
    workflow |= restoreFile(node, document, options.settings, given) == WorkflowGiven::Yes;
  }
  if (!options.workflow.empty()) chooseWorkflow(node, options.workflow);
  for (const auto& [parameter, value] : settings) node.set(*parameter, value);
  return workflow ? WorkflowGiven::Yes : WorkflowGiven::No;
}

}  // namespace quillmere::app
