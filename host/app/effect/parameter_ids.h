#pragma once

#include <string>
#include <vector>

#include "description/vpquillmere.h"
#include "plugin_location.h"

// The parameters of the effect's node by the names that its resource gives them: QUILLMERE_… = 2000 to 2015.
namespace quillmere::app {

struct NamedParameter {
  int id;
  std::string name;
};

// All of them, in the order of their IDs, as the plug-in's own header has them. Throws Error.
std::vector<NamedParameter> namedParameters(const PluginFolder& plugin);

}  // namespace quillmere::app
