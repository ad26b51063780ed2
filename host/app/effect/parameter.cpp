#include "parameter.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "sdk/core/text.h"
#include "sdk/resource/enum_header.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

using namespace cinema;
using Kind = Parameter::Kind;

std::string titleOf(const Parameter& parameter) {
  return parameter.name + " (" + std::to_string(parameter.id) + ")";
}

std::string written(const Value& value) {
  if (const bool* on = std::get_if<bool>(&value)) return *on ? "true" : "false";
  if (const std::int32_t* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
  return std::get<std::string>(value);
}

[[noreturn]] void refuse(const Parameter& parameter, const Value& value, const std::string& accepted) {
  refuseValue(parameter, "'" + written(value) + "' is no value for it", accepted);
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

bool switchOf(const Parameter& parameter, const Value& value) {
  if (const bool* on = std::get_if<bool>(&value)) return *on;
  constexpr std::array kOn{"true", "1", "on", "yes"};
  constexpr std::array kOff{"false", "0", "off", "no"};
  const std::string word = written(value);
  if (std::find(kOn.begin(), kOn.end(), word) != kOn.end()) return true;
  if (std::find(kOff.begin(), kOff.end(), word) != kOff.end()) return false;
  refuse(parameter, value, "accepted: true or false");
}

// The number of the choice of that name, if there is one; a name that several have chooses none of them.
std::optional<Int32> choiceCalled(const Parameter& parameter, const std::string& name) {
  std::vector<std::string> texts;
  for (const auto& choice : parameter.choices) texts.push_back(choice.text);
  if (std::count(texts.begin(), texts.end(), name) > 1) {
    refuseValue(parameter, "several choices are named '" + name + "'",
                "choose by number; " + acceptedNumbers(parameter));
  }
  const auto index = indexOfName(texts, name);
  return index ? std::optional(parameter.choices[*index].value) : std::nullopt;
}

std::optional<Int32> numberIn(const std::string& text) {
  Int32 number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc{} && read.ptr == end ? std::optional(number) : std::nullopt;
}

Int32 numberOf(const Parameter& parameter, const Value& value) {
  std::optional<Int32> number;
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (const auto choice = choiceCalled(parameter, *text)) return *choice;
    number = numberIn(*text);
  } else if (const auto* given = std::get_if<std::int32_t>(&value)) {
    number = *given;
  }
  const bool offered =
      parameter.choices.empty() || std::any_of(parameter.choices.begin(), parameter.choices.end(),
                                               [&](const auto& choice) { return choice.value == number; });
  const bool inside = number >= parameter.least.value_or(INT32_MIN) && number <= parameter.most.value_or(INT32_MAX);
  if (!number || !offered || !inside) refuse(parameter, value, acceptedNumbers(parameter));
  return *number;
}

}  // namespace

std::vector<ParameterName> parameterNames(const std::filesystem::path& plugin) {
  host::resource::Symbols symbols;
  host::resource::readEnumHeader(plugin / "res" / "description" / "vpquillmere.h", symbols);
  std::vector<ParameterName> names;
  for (const auto& [name, id] : symbols) names.push_back({id, name});
  std::sort(names.begin(), names.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
  return names;
}

void refuseValue(const Parameter& parameter, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Usage, titleOf(parameter), why, remedy);
}

const host::Document::Camera& cameraCalled(const std::string& name, const host::Document& document) {
  std::vector<std::string> names;
  for (const host::Document::Camera& camera : document.cameras()) names.push_back(camera.name);
  if (const auto index = indexOfName(names, name)) return document.cameras()[*index];
  throw Failure(ExitStatus::Usage, "camera '" + name + "'", "the scene has none of that name",
                suggestion(names, name) + "its cameras: " + listed(names));
}

GeData acceptedValue(const Parameter& parameter, const Value& value, const host::Document& document) {
  const std::string text = written(value);
  requireUtf8(titleOf(parameter), text);
  switch (parameter.kind) {
    case Kind::Bool:
      return GeData(Int32(switchOf(parameter, value)));
    case Kind::Whole:
      return GeData(numberOf(parameter, value));
    case Kind::File:
      return GeData(host::filenameOf(text.empty() ? std::filesystem::path() : std::filesystem::absolute(text)));
    case Kind::Camera:
      return GeData(text.empty() ? nullptr : static_cast<BaseList2D*>(cameraCalled(text, document).object));
    case Kind::ReadOnly:
      refuseValue(parameter, "it is shown only", "the effect writes it itself");
    case Kind::Derived:
      refuseValue(parameter, "it follows the workflow",
                  "choose one with --workflow NAME|ID|FILE or --set QUILLMERE_WORKFLOW=NAME");
    case Kind::Text:
      break;
  }
  return GeData(host::fromUtf8(text));
}

}  // namespace quillmere::app
