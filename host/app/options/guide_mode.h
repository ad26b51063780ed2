#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace quillmere::app {

// How a guide image is drawn, numbered as the effect's parameter has it.
enum class GuideMode { QuickShading = 0, FinalRender = 1 };

// Adds --guide; `chosen` is called when it was given.
void addGuideMode(CLI::App& command, std::function<void(GuideMode)> chosen);

}  // namespace quillmere::app
