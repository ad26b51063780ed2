#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "help_text.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

struct Options {
  std::vector<std::string> command;  // its name, and those of the commands below it
  bool manual = false;
};

// As roff takes it: a backslash is an escape there, a minus sign a hyphen, a line that starts with a point a request.
std::string roff(const std::string& text) {
  std::string safe;
  for (const char letter : text) {
    const bool begins = safe.empty() || safe.back() == '\n';
    if (begins && (letter == '.' || letter == '\'')) safe += "\\&";
    safe += letter == '\\' ? "\\e" : letter == '-' ? "\\-" : std::string(1, letter);
  }
  return safe;
}

// Lines that stay as they are.
std::string verbatim(const std::string& text) {
  return text.empty() ? "" : ".nf\n" + roff(text) + "\n.fi\n";
}

std::string optionEntries(const CLI::App& command) {
  std::string entries;
  for (const CLI::Option* option : command.get_options()) {
    if (option == command.get_help_ptr()) continue;
    entries += ".TP\n.B " + roff(optionSyntax(*option)) + "\n" + roff(optionMeaning(*option)) + "\n";
  }
  return entries;
}

// The command and those below it, each under its whole name.
std::string commandSections(const CLI::App& command, const std::string& name) {
  std::string sections = ".SS " + roff(name) + "\n" + roff(command.get_description()) + ".\n" + optionEntries(command);
  if (!command.get_footer().empty()) sections += ".PP\n" + verbatim(command.get_footer());
  for (const CLI::App* below : command.get_subcommands({})) {
    sections += commandSections(*below, name + " " + below->get_name());
  }
  return sections;
}

// The whole command line as a manual page of section 1; see man-pages(7).
std::string manualPage(const CLI::App& root) {
  std::string page = ".TH QUILLMERE 1 \"\" \"Quillmere Renderer " QUILLMERE_VERSION "\" \"User Commands\"\n";
  page += ".SH NAME\nquillmere \\- " + roff("render 3D scenes as generated pictures") + "\n";
  page += ".SH SYNOPSIS\n.B quillmere\n.I COMMAND\n[\\fIOPTIONS\\fR]\n";
  page += ".SH DESCRIPTION\n" + roff(root.get_description()) + "\n" + optionEntries(root) + ".PP\n" +
          verbatim(root.get_footer());
  page += ".SH COMMANDS\n";
  for (const CLI::App* command : root.get_subcommands({})) page += commandSections(*command, command->get_name());
  return page;
}

const CLI::App& commandCalled(const std::vector<std::string>& names, const CLI::App& root) {
  const CLI::App* command = &root;
  for (const std::string& name : names) {
    const auto below = command->get_subcommands([&](const CLI::App* one) { return one->check_name(name); });
    if (below.empty())
      throw Failure(ExitStatus::Usage, "command '" + name + "'", "there is none of that name", "see quillmere --help");
    command = below.front();
  }
  return *command;
}

std::string helpOn(const std::vector<std::string>& names, const CLI::App& root) {
  std::string path = "quillmere";
  for (const std::string& name : names) path += " " + name;
  const CLI::App& command = commandCalled(names, root);
  return command.get_formatter()->make_help(&command, path, CLI::AppFormatMode::Normal);
}

}  // namespace

Action addHelp(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  command.add_option("COMMAND", options->command, "The command to tell about (default: all of them)")->type_name("");
  command.add_flag("--man", options->manual, "Print the manual page of the whole command instead, as roff");
  command.footer(
      "Examples:\n"
      "  quillmere help workflows add\n"
      "  quillmere help --man | man -l -");
  return [options] {
    CommandTree tree;
    printResult(options->manual ? manualPage(tree.root()) : helpOn(options->command, tree.root()));
    return ExitStatus::Done;
  };
}

}  // namespace quillmere::app
