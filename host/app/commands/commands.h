#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <utility>
#include <vector>

#include "values/failure.h"

namespace quillmere::app {

// The whole command: parses, and runs the sub-command that was asked for. Throws what main prints.
ExitStatus run(int argc, const char* const* argv);

// Does what the parsed options say. Throws what main prints.
using Action = std::function<ExitStatus()>;

// Each gives the sub-command its options and returns what to do when it was chosen, which owns their values.
Action addRender(CLI::App& command);
Action addSubmit(CLI::App& command);
Action addGuide(CLI::App& command);
Action addPanel(CLI::App& command);
Action addCameras(CLI::App& command);
Action addInfo(CLI::App& command);
Action addWorkflows(CLI::App& command);
Action addShow(CLI::App& command);
Action addSheet(CLI::App& command);
Action addMovie(CLI::App& command);
Action addDoctor(CLI::App& command);
Action addCompletion(CLI::App& command);
Action addHelp(CLI::App& command);

// The parser of the whole command line.
class CommandTree {
 public:
  CommandTree();

  CLI::App& root() { return root_; }
  const std::vector<std::pair<CLI::App*, Action>>& actions() const { return actions_; }

 private:
  CLI::App root_;
  std::vector<std::pair<CLI::App*, Action>> actions_;  // in the order in which help lists them
};

}  // namespace quillmere::app
