#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillmere::app {

// A parameter of a node as its panel describes it, or, when it isn't shown there, as it is stored.
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

}  // namespace quillmere::app
