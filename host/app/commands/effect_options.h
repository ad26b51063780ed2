#pragma once

#include <functional>

#include "effect/node_setup.h"
#include "values/guide_mode.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// Adds --guide; `chosen` is called when it was given.
void addGuideMode(CLI::App& command, std::function<void(GuideMode)> chosen);

// The values that `options` points to are complete once the command line has been parsed.
void addEffectOptions(CLI::App& command, EffectOptions& options);

}  // namespace quillmere::app
