#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "effect/drawing_options.h"
#include "effect/settings.h"
#include "scene_options.h"
#include "values/frames.h"

namespace CLI {
class App;
}

// Options that several commands have.
namespace quillmere::app {

// Where the host writes and where the plug-in lies.
struct SessionOptions {
  std::string writeDirectory, plugin;  // empty: the user's data folder, the plug-in beside this program
};

// --plugin alone, for what writes nothing of the host's.
void addPluginOption(CLI::App& command, SessionOptions& options);

void addSessionOptions(CLI::App& command, SessionOptions& options);

// Absolute. Throws Error when there is no home to put the default in.
std::filesystem::path writeDirectoryOf(const SessionOptions& options);

// Adds --guide; `chosen` is called when it was given.
void addGuideMode(CLI::App& command, std::function<void(GuideMode)> chosen);

// Adds how the host draws: --exposure, --samples, --background, --light, --two-sided.
void addDrawingOptions(CLI::App& command, DrawingOptions& options);

// Adds --seed, whose rule goes to `rule`: a whole number of 64 bits, "frame" or "random".
void addSeed(CLI::App& command, std::string& rule);

// The values that `options` points to are complete once the command line has been parsed.
void addEffectOptions(CLI::App& command, EffectOptions& options);

}  // namespace quillmere::app
