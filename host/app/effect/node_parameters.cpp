#include "node_parameters.h"

#include <algorithm>

#include "sdk/core/text.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

using namespace cinema;
using Kind = Parameter::Kind;

DescID addressOf(int id) {
  return DescID::Create(DescLevel(id));
}

Kind kindOfType(Int32 dtype) {
  switch (dtype) {
    case DTYPE_BOOL:
      return Kind::Bool;
    case DTYPE_LONG:
      return Kind::Whole;
    case DTYPE_FILENAME:
      return Kind::File;
    case DTYPE_BASELISTLINK:
      return Kind::Camera;
    case DTYPE_STATICTEXT:
      return Kind::ReadOnly;
    default:
      return Kind::Text;
  }
}

// Of the parameters that no panel shows, all of them texts.
Kind kindOfHidden(int id) {
  if (id == QUILLMERE_WORKFLOW_PATH || id == QUILLMERE_WORKFLOW_ID) return Kind::Derived;
  return id == QUILLMERE_LAST_HISTORY_ENTRY ? Kind::ReadOnly : Kind::Text;
}

std::optional<int> limit(const BaseContainer& properties, Int32 key) {
  if (properties.GetType(key) == DA_NIL) return {};
  return properties.GetInt32(key);
}

std::vector<Parameter::Choice> choicesOf(const BaseContainer& properties) {
  std::vector<Parameter::Choice> choices;
  const BaseContainer* cycle = properties.GetContainerInstance(DESC_CYCLE);
  for (Int32 index = 0; cycle != nullptr && cycle->GetIndexId(index) != NOTOK; ++index) {
    const Int32 value = cycle->GetIndexId(index);
    choices.push_back({value, host::toUtf8(cycle->GetString(value))});
  }
  return choices;
}

Json asJson(const GeData& data, Kind kind, BaseDocument& document) {
  switch (data.GetType()) {
    case DA_LONG:
      return kind == Kind::Bool ? Json(data.GetBool()) : Json(data.GetInt32());
    case DA_STRING:
      return host::toUtf8(data.GetString());
    case DA_FILENAME:
      return host::toUtf8(data.GetFilename().GetString());
    case DA_ALIASLINK: {
      const BaseList2D* target = data.GetLink(&document);
      return target == nullptr ? Json() : Json(host::toUtf8(target->GetName()));
    }
    default:
      return {};
  }
}

}  // namespace

NodeParameters::NodeParameters(host::Document& document, BaseVideoPost& node, const std::vector<ParameterName>& names)
    : document_(document), node_(node), described_(host::describe(node)) {
  for (const auto& [id, name] : names) all_.push_back(described(id, name));
}

const host::DescriptionEntry* NodeParameters::entryOf(int id) const {
  const auto found = std::find_if(described_.begin(), described_.end(),
                                  [id](const host::DescriptionEntry& entry) { return entry.id == addressOf(id); });
  return found == described_.end() ? nullptr : &*found;
}

Parameter NodeParameters::described(int id, const std::string& name) const {
  Parameter parameter;
  parameter.id = id;
  parameter.name = name;
  const host::DescriptionEntry* entry = entryOf(id);
  if (entry == nullptr) {
    parameter.kind = kindOfHidden(id);
    return parameter;
  }
  const BaseContainer& properties = entry->properties;
  parameter.kind = kindOfType(entry->id[0].dtype);
  if (!properties.GetBool(DESC_HIDE)) parameter.place = static_cast<int>(entry - described_.data());
  parameter.label = host::toUtf8(properties.GetString(DESC_NAME));
  if (const host::DescriptionEntry* group = entryOf(entry->group[0].id)) {
    parameter.group = host::toUtf8(group->properties.GetString(DESC_NAME));
  }
  parameter.least = limit(properties, DESC_MIN);
  parameter.most = limit(properties, DESC_MAX);
  parameter.choices = choicesOf(properties);
  return parameter;
}

std::vector<Parameter> NodeParameters::panel() const {
  std::vector<Parameter> shown;
  for (const Parameter& parameter : all_) {
    if (parameter.place) shown.push_back(parameter);
  }
  std::sort(shown.begin(), shown.end(), [](const auto& a, const auto& b) { return a.place < b.place; });
  return shown;
}

const Parameter& NodeParameters::find(int id) const {
  const auto found =
      std::find_if(all_.begin(), all_.end(), [id](const Parameter& parameter) { return parameter.id == id; });
  return found == all_.end() ? find(std::to_string(id)) : *found;
}

const Parameter& NodeParameters::find(const std::string& nameOrId) const {
  std::vector<std::string> names;
  std::string there;
  for (const Parameter& parameter : all_) {
    const std::string id = std::to_string(parameter.id);
    if (id == nameOrId) return parameter;
    names.push_back(parameter.name);
    there += "\n    " + id + " " + parameter.name;
  }
  if (const auto index = indexOfName(names, nameOrId)) return all_[*index];
  throw Failure(ExitStatus::Usage, "parameter '" + nameOrId + "'", "the effect has none of that ID or name",
                "its parameters:" + there);
}

void NodeParameters::set(const Parameter& parameter, const Value& value) {
  const GeData accepted = acceptedValue(parameter, value, document_);
  if (!editable(parameter)) {
    refuseValue(parameter, "it is greyed out",
                "unlock it first with --set " + find(QUILLMERE_UNLOCK_SYSTEM_PROMPT).name + "=true");
  }
  if (!host::writeParameter(node_, addressOf(parameter.id), accepted)) {
    refuseValue(parameter, "the effect refused the value", {});
  }
}

Json NodeParameters::shown(const Parameter& parameter) const {
  const auto value = host::readParameter(node_, addressOf(parameter.id));
  return asJson(value.value_or(GeData()), parameter.kind, document_.api());
}

bool NodeParameters::editable(const Parameter& parameter) const {
  const host::DescriptionEntry* entry = entryOf(parameter.id);
  return entry == nullptr || host::isEditable(node_, *entry);
}

int NodeParameters::number(int id) const {
  const auto value = host::readParameter(node_, addressOf(id));
  return value ? value->GetInt32() : 0;
}

std::string NodeParameters::text(int id) const {
  const auto value = host::readParameter(node_, addressOf(id));
  if (!value) return "";
  return host::toUtf8(value->GetType() == cinema::DA_FILENAME ? value->GetFilename().GetString() : value->GetString());
}

Json NodeParameters::stored(int id) const {
  return asJson(storedData(id), find(id).kind, document_.api());
}

Json NodeParameters::stored() const {
  Json values = Json::object();
  for (const Parameter& parameter : all_) values[std::to_string(parameter.id)] = stored(parameter.id);
  return values;
}

GeData NodeParameters::storedData(int id) const {
  return node_.GetDataInstanceRef().GetData(id);
}

void NodeParameters::store(int id, const GeData& value) {
  node_.GetDataInstanceRef().SetData(id, value);
}

}  // namespace quillmere::app
