#include "settings.h"

#include <algorithm>
#include <climits>
#include <set>

#include "base/atomic_file.h"
#include "base/file_reading.h"
#include "controls.h"
#include "sdk/core/text.h"
#include "values/failure.h"
#include "values/texts.h"
#include "workflow_catalog.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using Kind = Parameter::Kind;

constexpr const char* kFormat = "quillmere settings";
constexpr int kVersion = 1;
constexpr std::size_t kLargest = 8U << 20U;  // bytes; a prompt has at most one MiB
constexpr int kDeepest = 8;
constexpr const char* kRemedy = "give a file that --save-settings has written";

std::string titleOf(const fs::path& file) {
  return "settings '" + file.string() + "'";
}

[[noreturn]] void refuse(const fs::path& file, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Failed, titleOf(file), why, remedy);
}

Json parsed(const fs::path& file) {
  const std::string content = readOrFail(titleOf(file), kRemedy, [&] { return readText(file, kLargest); });
  return readOrFail(titleOf(file), "write it anew with --save-settings", [&] { return parsedJson(content, kDeepest); });
}

void checkHead(const fs::path& file, const Json& document) {
  if (!document.is_object() || !document.contains("format") || document["format"] != kFormat) {
    refuse(file, "is no settings file: its \"format\" is not \"" + std::string(kFormat) + "\"", kRemedy);
  }
  const Json version = document.value("version", Json());
  if (version != kVersion) {
    const std::string present = version.is_number() ? version.dump() : "unknown";
    refuse(file, "has version " + present + ", not " + std::to_string(kVersion),
           "write it anew with this version's --save-settings");
  }
  if (!document.contains("parameters") || !document["parameters"].is_object()) {
    refuse(file, "holds no \"parameters\"", kRemedy);
  }
}

// The file, with "parameters" that are the node's.
Json readSettings(const NodeParameters& node, const fs::path& file) {
  Json document = parsed(file);
  checkHead(file, document);
  for (const auto& entry : document["parameters"].items()) {
    const std::string& name = entry.key();
    const bool known =
        std::any_of(node.all().begin(), node.all().end(), [&](const Parameter& one) { return one.name == name; });
    if (!known) refuse(file, "holds '" + name + "', which the effect doesn't have", "remove it from the file");
  }
  return document;
}

Value valueOf(const Parameter& parameter, const Json& value) {
  const bool fits = parameter.kind == Kind::Bool     ? value.is_boolean()
                    : parameter.kind == Kind::Whole  ? value.is_number_integer()
                    : parameter.kind == Kind::Camera ? value.is_string() || value.is_null()
                                                     : value.is_string();
  if (!fits) refuseValue(parameter, "a value of another type", "see docs/parameters.md for its type");
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_null()) return std::string();
  if (value.is_string()) return value.get<std::string>();
  const bool inside =
      value.is_number_unsigned() ? value.get<std::uint64_t>() <= INT32_MAX : value.get<std::int64_t>() >= INT32_MIN;
  return inside ? Value(value.get<std::int32_t>()) : Value(value.dump());  // a text for the message that refuses it
}

std::string textIn(const NodeParameters& node, int id, const Json& settings) {
  const Parameter& parameter = node.find(id);
  if (!settings.contains(parameter.name)) return {};
  const Value value = valueOf(parameter, settings[parameter.name]);
  requireUtf8(parameter.name, std::get<std::string>(value));
  return std::get<std::string>(value);
}

// A workflow that the catalog still has is chosen where it stands now; another is kept as it is.
void restoreWorkflow(NodeParameters& node, const Json& settings) {
  const std::string id = textIn(node, QUILLMERE_WORKFLOW_ID, settings);
  const std::string file = textIn(node, QUILLMERE_WORKFLOW_PATH, settings);
  const Parameter& menu = node.find(QUILLMERE_WORKFLOW);
  const Json number = settings.value(menu.name, Json(0));
  if (!number.is_number_integer() || number < 0 || number > INT_MAX || (id.empty() && file.empty() && number != 0)) {
    refuseValue(menu, "a workflow is kept by its identifier", "give QUILLMERE_WORKFLOW_ID");
  }
  const std::vector<Workflow> catalog = id.empty() ? std::vector<Workflow>() : catalogOf(node);
  const auto found = std::find_if(catalog.begin(), catalog.end(), [&](const Workflow& one) { return one.id == id; });
  if (found != catalog.end()) return node.set(menu, found->number);
  storeWorkflow(node, number.get<int>(), id, file);
}

bool isWorkflow(int id) {
  return id == QUILLMERE_WORKFLOW || id == QUILLMERE_WORKFLOW_ID || id == QUILLMERE_WORKFLOW_PATH;
}

// Straight into the container, as an application opens a document: greyed-out fields have their values too, and what
// only the effect writes is taken back as it was written.
WorkflowGiven restore(NodeParameters& node, const host::Document& document, const Json& settings,
                      const std::set<int>& overridden) {
  WorkflowGiven given = WorkflowGiven::No;
  for (const Parameter& parameter : node.all()) {
    if (!settings.contains(parameter.name)) continue;
    if (isWorkflow(parameter.id)) {
      given = WorkflowGiven::Yes;
    } else if (overridden.count(parameter.id) > 0) {
      continue;
    } else if (parameter.kind == Kind::ReadOnly) {
      node.store(parameter.id, cinema::GeData(host::fromUtf8(textIn(node, parameter.id, settings))));
    } else {
      node.store(parameter.id, acceptedValue(parameter, valueOf(parameter, settings[parameter.name]), document));
    }
  }
  if (given == WorkflowGiven::Yes && overridden.count(QUILLMERE_WORKFLOW) == 0) restoreWorkflow(node, settings);
  return given;
}

NodeSetUp restoreFile(NodeParameters& node, const host::Document& document, const std::string& file,
                      const std::set<int>& overridden) {
  const Json settings = readSettings(node, file);
  try {
    const WorkflowGiven given = restore(node, document, settings["parameters"], overridden);
    const bool kept = overridden.count(QUILLMERE_WORKFLOW) == 0;
    return {given, kept ? checkedControls(settings.value("controls", Json())) : Json::object()};
  } catch (const Failure& failure) {
    refuse(file, failure.what(), failure.remedy());
  } catch (const Error& error) {
    refuse(file, std::string("its \"controls\" ") + error.what(), "correct it, or remove it from the file");
  }
}

struct Setting {
  const Parameter* parameter;
  Value value;
};

std::vector<Setting> inPanelOrder(const NodeParameters& node, const EffectOptions& options, const std::string& camera) {
  std::vector<Setting> settings;
  if (!camera.empty()) settings.push_back({&node.find(QUILLMERE_CAMERA), camera});
  for (const Assignment& one : options.assignments) {
    const auto parameter = [&node](const auto& called) { return &node.find(called); };
    settings.push_back({std::visit(parameter, one.parameter), one.value});
  }
  const auto place = [](const Setting& setting) { return setting.parameter->place.value_or(INT_MAX); };
  std::stable_sort(settings.begin(), settings.end(),
                   [&](const Setting& a, const Setting& b) { return place(a) < place(b); });
  return settings;
}

}  // namespace

NodeSetUp setUpNode(NodeParameters& node, host::Document& document, const EffectOptions& options,
                    const std::string& camera) {
  const std::vector<Setting> settings = inPanelOrder(node, options, camera);
  std::set<int> given;
  for (const Setting& setting : settings) given.insert(setting.parameter->id);
  if (!options.workflow.empty()) given.insert(QUILLMERE_WORKFLOW);
  NodeSetUp made;
  if (!options.settings.empty()) made = restoreFile(node, document, options.settings, given);
  if (given.count(QUILLMERE_WORKFLOW) > 0) made.workflow = WorkflowGiven::Yes;
  if (!options.workflow.empty()) chooseWorkflow(node, options.workflow);
  for (const auto& [parameter, value] : settings) node.set(*parameter, value);
  made.controls = mergedControls(made.controls, options.controls);
  return made;
}

DrawingOptions drawingIn(const fs::path& file) {
  const Json document = parsed(file);
  checkHead(file, document);
  return drawingOptionsOf(document.value("drawing", Json::object()), titleOf(file));
}

Json settingsOf(const NodeParameters& node, const Json& controls, const DrawingOptions& drawing) {
  Json parameters = Json::object();
  for (const Parameter& parameter : node.all()) parameters[parameter.name] = node.stored(parameter.id);
  Json settings{{"parameters", parameters}, {"drawing", jsonOf(drawing)}};
  if (!controls.empty()) settings["controls"] = controls;
  return settings;
}

void saveSettings(const NodeParameters& node, const Json& controls, const DrawingOptions& drawing,
                  const fs::path& file) {
  Json document{{"format", kFormat}, {"version", kVersion}};
  document.update(settingsOf(node, controls, drawing));
  writeFile(file, document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace quillmere::app
