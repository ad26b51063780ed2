#pragma once

#include "base/json.h"
#include "effect/effect_session.h"

namespace quillmere::app {

// What the module declares of itself to the host, as an object of a text or a list for each subject. Throws Error
// when the module can't be opened or declares nothing.
Json moduleDeclaration(const PluginFolder& plugin);

// The object as lines of two columns, in its order.
std::string linesOf(const Json& declaration);

}  // namespace quillmere::app
