#pragma once

#include <CLI/CLI.hpp>
#include <utility>
#include <vector>

#include "commands.h"

namespace quillmere::app {

// The parser of the whole command line, made from the table of sub-commands.
class CommandTree {
 public:
  CommandTree();

  CLI::App& root() { return root_; }
  const std::vector<std::pair<CLI::App*, Action>>& actions() const { return actions_; }

 private:
  CLI::App root_;
  std::vector<std::pair<CLI::App*, Action>> actions_;  // in the table's order
};

}  // namespace quillmere::app
