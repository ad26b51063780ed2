#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "effect/node_parameters.h"

namespace quillmere::app {

// A parameter with what the panel shows of it now.
struct PanelRow {
  struct Choice {
    nlohmann::ordered_json value;
    std::string text;
  };

  Parameter parameter;
  nlohmann::ordered_json value;  // true or false, a number, a text; a camera's name, or null for none
  bool enabled = true;           // false: greyed out
  std::vector<Choice> choices;   // of a menu, or the cameras that a link can take
  std::string note;              // what the value alone doesn't tell; mostly empty
};

// From the top, group by group.
std::vector<PanelRow> panelRows(const NodeParameters& node, const host::Document& document);

}  // namespace quillmere::app
