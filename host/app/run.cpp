#include "run.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <sstream>
#include <utility>
#include <vector>

#include "command_tree.h"
#include "process/output.h"
#include "progress/text_cells.h"

namespace quillmere::app {
namespace {

// The sub-command whose arguments were being read when the parser gave up, with those above it.
std::string calledCommand(const CLI::App& root) {
  std::string called;
  for (const CLI::App* command = &root; !command->get_subcommands().empty();) {
    command = command->get_subcommands().back();
    called += (called.empty() ? "" : " ") + command->get_name();
  }
  return called;
}

// The parser would only say that a command is missing, or an argument too many.
void refuseUnknownCommand(const CLI::App& parent, int argc, const char* const* argv, int at = 1) {
  const auto below = parent.get_subcommands({});
  const std::string word = argc > at ? argv[at] : "";
  if (below.empty() || word.empty() || word.front() == '-') return;
  std::string known;
  for (const CLI::App* command : below) {
    if (command->check_name(word)) return refuseUnknownCommand(*command, argc, argv, at + 1);
    known += (known.empty() ? "" : ", ") + command->get_name();
  }
  throw Failure(ExitStatus::Usage, "command '" + word + "'", "there is none of that name", "the commands: " + known);
}

bool takesValue(const CLI::App& root, int argc, const char* const* argv, const std::string& option) {
  const CLI::App* command = &root;
  for (int at = 1; at < argc; ++at) {
    for (const CLI::App* below : command->get_subcommands({})) {
      if (!below->check_name(argv[at])) continue;
      command = below;
      break;
    }
  }
  const CLI::Option* found = command->get_option_no_throw(option);
  return found != nullptr && found->get_items_expected_max() > 0;
}

// The arguments, the last one first as the parser has them. An empty value after "=" stands by itself: the parser would
// take the argument behind it for the value.
std::vector<std::string> argumentsFor(const CLI::App& root, int argc, const char* const* argv) {
  std::vector<std::string> arguments;
  for (int at = 1; at < argc; ++at) {
    std::string argument = argv[at];
    const bool empty = argument.size() > 3 && argument.starts_with("--") && argument.find('=') == argument.size() - 1;
    if (empty && takesValue(root, argc, argv, argument.substr(0, argument.size() - 1))) {
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

void printResult(const std::string& text) {
  if (Output(STDOUT_FILENO).write(text)) return;
  throw Failure(ExitStatus::Failed, "standard output", "cannot be written", "make room on the disk that it goes to");
}

void printError(const std::string& text) {
  std::istringstream lines(text);
  std::string shown, line;
  while (std::getline(lines, line)) shown += (shown.empty() ? "quillmere: " : "") + printable(line) + "\n";
  Output(STDERR_FILENO).write(shown);
}

void printWarnings(const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) printError("warning: " + warning);
}

}  // namespace quillmere::app
