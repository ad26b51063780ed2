#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "values/failure.h"

namespace quillmere::app {

// Does what the parsed options say. Throws what main prints.
using Action = std::function<ExitStatus()>;

// A sub-command. `add` gives it its options and returns what to do when it was chosen, which owns their values.
struct Command {
  enum class TellsOf { Itself, AllCommands };  // whose options it looks at

  const char *name, *summary;
  Action (*add)(CLI::App& command);
  TellsOf tellsOf = TellsOf::Itself;
};

// The whole command with `further` sub-commands, which rooms above this one have: parses, and runs the one that was
// asked for. Throws what main prints.
ExitStatus run(int argc, const char* const* argv, std::span<const Command> further = {});

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
  // Where `called` is a sub-command's name, only that one gets its options, as the first argument tells which they will
  // be asked of: all of them take a millisecond.
  explicit CommandTree(std::span<const Command> further = {}, std::string_view called = {});

  CLI::App& root() { return root_; }
  const std::vector<std::pair<CLI::App*, Action>>& actions() const { return actions_; }

 private:
  CLI::App root_;
  std::vector<std::pair<CLI::App*, Action>> actions_;  // in the order in which help lists them
};

}  // namespace quillmere::app
