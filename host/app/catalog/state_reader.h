#pragma once

#include <string>
#include <vector>

#include "effect/plugin_location.h"
#include "state_text.h"

namespace quillmere::app {

// Whether the effect itself lists `expected` when `text` is the workflow manager's state. Its module is loaded and
// asked, with a temporary home in place of the user's, so not while another thread reads the environment. Of more than
// a hundred workflows only the names are compared, because it reads the whole state again to tell one identifier.
// Throws host::Error when the module can't be used, Failure when there is no room for the home.
bool effectReads(const std::string& text, const std::vector<Listed>& expected, const PluginFolder& plugin);

}  // namespace quillmere::app
