#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "description/vpquillmere.h"  // QUILLMERE_… = 2000 to 2015
#include "sdk/api/document.h"

namespace quillmere::app {

// A parameter of the effect's node as its panel describes it, or, when it isn't shown there, as it is stored.
struct Parameter {
  // How it is written: ReadOnly ones by the effect alone, Derived ones together with another parameter.
  enum class Kind { Bool, Whole, Text, File, Camera, ReadOnly, Derived };
  struct Choice {
    int value;
    std::string text;
  };

  int id = 0;
  std::string name;
  Kind kind = Kind::Text;
  std::optional<int> place;  // in the panel, from the top; none when it isn't shown
  std::string label, group;  // as shown; empty when it isn't
  std::optional<int> least, most;
  std::vector<Choice> choices;  // empty: any value
};

struct ParameterName {
  int id;
  std::string name;
};

// The parameters' names by their IDs, in the order of these, as the header of the plug-in's own resource has them.
// Throws host::resource::Damage.
std::vector<ParameterName> parameterNames(const std::filesystem::path& plugin);

// What a parameter is to be: on or off, a number, or a text. The text may stand for a value of another kind as a user
// writes it: "yes", "12", the name of a choice or of a camera ("" for none), a file.
using Value = std::variant<bool, std::int32_t, std::string>;

// One value for one parameter, which is called by its ID, or as a user has written its name or ID.
struct Assignment {
  std::variant<int, std::string> parameter;
  Value value;
};

// `value` as the parameter's kind, choices and limits have it; a relative file against the working directory. Throws
// Failure (usage), which says what is accepted.
cinema::GeData acceptedValue(const Parameter& parameter, const Value& value, const host::Document& document);

// Throws Failure (usage): the parameter can't be given a value, because of `why`.
[[noreturn]] void refuseValue(const Parameter& parameter, const std::string& why, const std::string& remedy);

// The camera of that name, or the only one that has it when upper and lower case are taken as alike. Throws Failure
// (usage), which lists the cameras there are.
const host::Document::Camera& cameraCalled(const std::string& name, const host::Document& document);

}  // namespace quillmere::app
