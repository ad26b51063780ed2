#include "accepted_value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>

#include "camera_choice.h"
#include "parameter_ids.h"
#include "sdk/core/text.h"
#include "values/failure.h"
#include "values/named_choice.h"
#include "values/utf8_text.h"

namespace quillmere::app {
namespace {

using namespace cinema;
using Kind = Parameter::Kind;

std::string calledBy(const Parameter& parameter) {
  return parameter.name + " (" + std::to_string(parameter.id) + ")";
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
  refuseValue(parameter, value, {}, "accepted: true or false");
}

// The number of the choice of that name, if there is one; a name that several have chooses none of them.
std::optional<Int32> named(const Parameter& parameter, const std::string& value) {
  std::vector<std::string> texts;
  for (const auto& choice : parameter.choices) texts.push_back(choice.text);
  if (std::count(texts.begin(), texts.end(), value) > 1) {
    refuseValue(parameter, value, "several choices are named '" + value + "'",
                "choose by number; " + acceptedNumbers(parameter));
  }
  const auto index = indexOfName(texts, value);
  return index ? std::optional(parameter.choices[*index].value) : std::nullopt;
}

Int32 whole(const Parameter& parameter, const std::string& value) {
  if (const auto choice = named(parameter, value)) return *choice;
  Int32 number = 0;
  const char* end = value.data() + value.size();
  const auto read = std::from_chars(value.data(), end, number);
  const auto isNumber = [&](const Parameter::Choice& choice) { return choice.value == number; };
  const bool offered =
      parameter.choices.empty() || std::any_of(parameter.choices.begin(), parameter.choices.end(), isNumber);
  const bool inside = number >= parameter.least.value_or(number) && number <= parameter.most.value_or(number);
  if (read.ec != std::errc{} || read.ptr != end || !offered || !inside) {
    refuseValue(parameter, value, {}, acceptedNumbers(parameter));
  }
  return number;
}

BaseList2D* camera(const std::string& name, const host::Document& document) {
  return name.empty() ? nullptr : chosenCamera(document, name).object;
}

}  // namespace

void refuseValue(const Parameter& parameter, const std::string& value, const std::string& why,
                 const std::string& accepted) {
  throw Failure(ExitStatus::Usage, calledBy(parameter), why.empty() ? "'" + value + "' is no value for it" : why,
                accepted);
}

GeData acceptedValue(const Parameter& parameter, const std::string& text, const host::Document& document) {
  requireUtf8(calledBy(parameter), text);
  switch (parameter.kind) {
    case Kind::Bool:
      return {truth(parameter, text)};
    case Kind::Whole:
      return {whole(parameter, text)};
    case Kind::File:
      return {host::filenameOf(text.empty() ? std::filesystem::path() : std::filesystem::absolute(text))};
    case Kind::Camera:
      return {camera(text, document)};
    case Kind::ReadOnly:
      refuseValue(parameter, text, "it is shown only", "the effect writes it itself");
    case Kind::Derived:
      refuseValue(parameter, text, "it follows the workflow",
                  "choose one with --workflow NAME|ID|FILE or --set QUILLMERE_WORKFLOW=NAME");
    case Kind::Text:
      break;
  }
  return {host::fromUtf8(text)};
}

}  // namespace quillmere::app
