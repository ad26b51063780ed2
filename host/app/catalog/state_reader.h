#pragma once

#include <string>
#include <vector>

#include "effect/effect_session.h"
#include "state_text.h"

namespace quillmere::app {

// Whether the effect itself lists `expected` when `text` is the workflow manager's state. Its module is loaded and
// asked, with a temporary home in place of the user's, so not while another thread reads the environment. Throws Error
// when the module can't be used, Failure when there is no room for the home.
bool effectReads(const std::string& text, const std::vector<StateEntry>& expected, const PluginFolder& plugin);

}  // namespace quillmere::app
