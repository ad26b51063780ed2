#include "node_parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>

#include "camera_choice.h"
#include "failure.h"
#include "named_choice.h"
#include "parameter_ids.h"
#include "sdk/door/text.h"

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

// `value` as the parameter would take it, or why it doesn't.
[[noreturn]] void refuse(const Parameter& parameter, const std::string& value, const std::string& why,
                         const std::string& accepted) {
  throw Failure(ExitStatus::Usage, parameter.name + " (" + std::to_string(parameter.id) + ")",
                why.empty() ? "'" + value + "' is no value for it" : why, accepted);
}

std::string acceptedNumbers(const Parameter& parameter) {
  if (!parameter.choices.empty()) {
    std::string list;
    for (const auto& [number, text] : parameter.choices) list += "\n    " + std::to_string(number) + " " + text;
    return "accepted:" + list;
  }
  if (!parameter.least || !parameter.most) return "accepted: a whole number";
  return "accepted: a whole number from " + std::to_string(*parameter.least) + " to " + std::to_string(*parameter.most);
}

Int32 truth(const Parameter& parameter, const std::string& value) {
  constexpr std::array kYes{"true", "1", "on", "yes"};
  constexpr std::array kNo{"false", "0", "off", "no"};
  if (std::find(kYes.begin(), kYes.end(), value) != kYes.end()) return 1;
  if (std::find(kNo.begin(), kNo.end(), value) != kNo.end()) return 0;
  refuse(parameter, value, {}, "accepted: true or false");
}

Int32 whole(const Parameter& parameter, const std::string& value) {
  std::vector<std::string> texts;
  for (const auto& choice : parameter.choices) texts.push_back(choice.text);
  if (const auto named = indexOfName(texts, value)) return parameter.choices[*named].value;
  Int32 number = 0;
  const char* end = value.data() + value.size();
  const auto read = std::from_chars(value.data(), end, number);
  const auto isNumber = [&](const Parameter::Choice& choice) { return choice.value == number; };
  const bool offered =
      parameter.choices.empty() || std::any_of(parameter.choices.begin(), parameter.choices.end(), isNumber);
  const bool inside = number >= parameter.least.value_or(number) && number <= parameter.most.value_or(number);
  if (read.ec != std::errc{} || read.ptr != end || !offered || !inside) {
    refuse(parameter, value, {}, acceptedNumbers(parameter));
  }
  return number;
}

nlohmann::ordered_json asJson(const BaseContainer& data, const Parameter& parameter, BaseDocument& document) {
  switch (data.GetType(parameter.id)) {
    case DA_LONG:
      if (parameter.kind == Kind::Bool) return data.GetBool(parameter.id);
      return data.GetInt32(parameter.id);
    case DA_REAL:
      return data.GetFloat(parameter.id);
    case DA_STRING:
      return host::toUtf8(data.GetString(parameter.id));
    case DA_FILENAME:
      return host::toUtf8(data.GetFilename(parameter.id).GetString());
    case DA_ALIASLINK: {
      const BaseList2D* target = data.GetLink(parameter.id, &document);
      if (target == nullptr) return {};
      return host::toUtf8(target->GetName());
    }
    default:
      return {};
  }
}

}  // namespace

NodeParameters::NodeParameters(host::Document& document, BaseVideoPost& node) : document_(document), node_(node) {
  described_ = host::describe(node);
  for (const auto& [id, name] : namedParameters()) {
    Parameter parameter{id, name, Kind::Text, {}, {}, {}};
    if (node.GetDataInstanceRef().GetType(id) == DA_LONG) parameter.kind = Kind::Whole;
    for (const auto& entry : described_) {
      if (entry.id[0].id != id) continue;
      parameter.kind = kindOfType(entry.id[0].dtype);
      parameter.least = limit(entry.properties, DESC_MIN);
      parameter.most = limit(entry.properties, DESC_MAX);
      parameter.choices = choicesOf(entry.properties);
    }
    all_.push_back(std::move(parameter));
  }
}

const Parameter& NodeParameters::find(const std::string& wanted) const {
  std::vector<std::string> names;
  for (const Parameter& parameter : all_) {
    if (std::to_string(parameter.id) == wanted) return parameter;
    names.push_back(parameter.name);
  }
  if (const auto index = indexOfName(names, wanted)) return all_[*index];
  std::string there;
  for (const Parameter& parameter : all_) there += "\n    " + std::to_string(parameter.id) + " " + parameter.name;
  throw Failure(ExitStatus::Usage, "parameter '" + wanted + "'", "the effect has none of that ID or name",
                "its parameters:" + there);
}

GeData NodeParameters::parsed(const Parameter& parameter, const std::string& value) const {
  switch (parameter.kind) {
    case Kind::Bool:
      return {truth(parameter, value)};
    case Kind::Whole:
      return {whole(parameter, value)};
    case Kind::File:
      return {host::filenameOf(value.empty() ? std::filesystem::path() : std::filesystem::absolute(value))};
    case Kind::Camera:
      return {static_cast<BaseList2D*>(chosenCamera(document_, value).object)};
    case Kind::ReadOnly:
      refuse(parameter, value, "it is shown only", "the effect writes it itself");
    case Kind::Text:
      break;
  }
  return {host::fromUtf8(value)};
}

void NodeParameters::set(const Parameter& parameter, const std::string& value) {
  const GeData read = parsed(parameter, value);
  for (const host::DescriptionEntry& entry : described_) {
    if (entry.id[0].id != parameter.id || host::isEditable(node_, entry)) continue;
    refuse(parameter, value, "it is greyed out",
           std::string("unlock it first with --set ") + namedParameters().front().name + "=true");
  }
  if (!host::writeParameter(node_, addressOf(parameter.id), read)) {
    refuse(parameter, value, "the effect refused the value", {});
  }
}

int NodeParameters::number(int id) const {
  const auto value = host::readParameter(node_, addressOf(id));
  return value ? value->GetInt32() : 0;
}

std::string NodeParameters::text(int id) const {
  const auto value = host::readParameter(node_, addressOf(id));
  return value ? host::toUtf8(value->GetString()) : "";
}

nlohmann::ordered_json NodeParameters::stored() const {
  nlohmann::ordered_json values = nlohmann::ordered_json::object();
  for (const Parameter& parameter : all_) {
    values[std::to_string(parameter.id)] = asJson(node_.GetDataInstanceRef(), parameter, document_.api());
  }
  return values;
}

void NodeParameters::store(int id, const std::string& text) {
  node_.GetDataInstanceRef().SetString(id, host::fromUtf8(text));
}

void NodeParameters::store(int id, int number) {
  node_.GetDataInstanceRef().SetInt32(id, number);
}

}  // namespace quillmere::app
