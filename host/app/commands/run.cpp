#include "run.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "command_tree.h"

namespace quillmere::app {
namespace {

// The sub-command whose arguments were being read when the parser gave up.
std::string calledCommand(const CLI::App& root) {
  const auto called = root.get_subcommands();
  return called.empty() ? "" : called.back()->get_name();
}

// The parser would only say that a command is missing.
void refuseUnknownCommand(const CLI::App& root, int argc, const char* const* argv) {
  const std::string first = argc > 1 ? argv[1] : "";
  if (first.empty() || first.front() == '-') return;
  std::string known;
  for (const CLI::App* command : root.get_subcommands({})) {
    if (command->check_name(first)) return;
    known += (known.empty() ? "" : ", ") + command->get_name();
  }
  throw Failure(ExitStatus::Usage, "command '" + first + "'", "there is none of that name", "the commands: " + known);
}

bool takesValue(const CLI::App& root, const std::string& command, const std::string& option) {
  for (const CLI::App* one : root.get_subcommands({})) {
    const CLI::Option* found = one->check_name(command) ? one->get_option_no_throw(option) : nullptr;
    if (found != nullptr) return found->get_items_expected_max() > 0;
  }
  return false;
}

// The arguments, the last one first as the parser has them. An empty value after "=" stands by itself: the parser would
// take the argument behind it for the value.
std::vector<std::string> argumentsFor(const CLI::App& root, int argc, const char* const* argv) {
  std::vector<std::string> arguments;
  for (int at = 1; at < argc; ++at) {
    std::string argument = argv[at];
    const bool empty = argument.size() > 3 && argument.starts_with("--") && argument.find('=') == argument.size() - 1;
    if (empty && takesValue(root, argv[1], argument.substr(0, argument.size() - 1))) {
      argument.pop_back();
      arguments.push_back(argument);
      argument.clear();
    }
    arguments.push_back(argument);
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

[[noreturn]] void refuse(const CLI::App& root, const CLI::ParseError& error) {
  const std::string command = calledCommand(root);
  throw Failure(ExitStatus::Usage, command.empty() ? "arguments" : command, error.what(),
                "see quillmere " + command + (command.empty() ? "" : " ") + "--help");
}

ExitStatus runChosen(const std::vector<std::pair<CLI::App*, Action>>& actions) {
  for (const auto& [command, action] : actions) {
    if (command->parsed()) return action();
  }
  return ExitStatus::Usage;
}

}  // namespace

ExitStatus run(int argc, const char* const* argv) {
  CommandTree tree;
  refuseUnknownCommand(tree.root(), argc, argv);
  try {
    tree.root().parse(argumentsFor(tree.root(), argc, argv));
  } catch (const CLI::Success& answer) {  // --help, --version
    tree.root().exit(answer);
    return ExitStatus::Done;
  } catch (const CLI::ParseError& error) {
    refuse(tree.root(), error);
  }
  return runChosen(tree.actions());
}

}  // namespace quillmere::app
