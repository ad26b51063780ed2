#pragma once

#include <functional>
#include <span>

#include "values/failure.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// Does what the parsed options say. Throws what main prints.
using Action = std::function<ExitStatus()>;

// A sub-command: `add` gives `command` its options and returns what to do when it was chosen, which owns their values.
struct Command {
  const char* name;
  const char* summary;
  Action (*add)(CLI::App& command);
};

Action addRender(CLI::App& command);
Action addGuide(CLI::App& command);
Action addPanel(CLI::App& command);
Action addCameras(CLI::App& command);
Action addWorkflows(CLI::App& command);
Action addShow(CLI::App& command);
Action addDoctor(CLI::App& command);
Action addCompletion(CLI::App& command);

// All of them, in the order in which help lists them.
std::span<const Command> commands();

}  // namespace quillmere::app
