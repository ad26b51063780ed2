#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

struct Word {
  std::string text, meaning;
};

struct Node {
  std::string name, meaning;
  std::vector<Word> options;
};

std::vector<Word> optionsOf(const CLI::App& command) {
  std::vector<Word> words;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words.push_back({"--" + name, option->get_description()});
  }
  return words;
}

// The root first, then its sub-commands.
std::vector<Node> nodes() {
  CommandTree tree;
  std::vector<Node> all{{"", "", optionsOf(tree.root())}};
  for (const auto& [command, action] : tree.actions()) {
    all.push_back({command->get_name(), command->get_description(), optionsOf(*command)});
    all.front().options.push_back({command->get_name(), command->get_description()});
  }
  return all;
}

std::string joined(const std::vector<Word>& words) {
  std::string text;
  for (const Word& word : words) text += (text.empty() ? "" : " ") + word.text;
  return text;
}

// For a text between single quotes.
std::string quoted(const std::string& text) {
  std::string safe;
  for (const char letter : text) safe += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  return safe;
}

std::string forBash() {
  std::string cases;
  for (const Node& node : nodes()) {
    cases += "    " + (node.name.empty() ? "''" : node.name) + ") words='" + joined(node.options) + "' ;;\n";
  }
  return "_quillmere() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} command='' words=''\n"
         "  [ \"$COMP_CWORD\" -gt 1 ] && command=${COMP_WORDS[1]}\n"
         "  case $command in\n" +
         cases +
         "  esac\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
         "}\n"
         "complete -o default -F _quillmere quillmere\n";
}

// zsh reads what bash does, once it is told to.
std::string forZsh() {
  return "autoload -U +X bashcompinit && bashcompinit\n" + forBash();
}

std::string forFish() {
  std::string script;
  for (const Node& node : nodes()) {
    const std::string when = node.name.empty() ? "__fish_use_subcommand" : "__fish_seen_subcommand_from " + node.name;
    for (const Word& word : node.options) {
      const bool option = word.text.rfind("--", 0) == 0;
      script += "complete -c quillmere -n '" + when + "' " +
                (option ? "-l " + word.text.substr(2) : "-a " + word.text) + " -d '" + quoted(word.meaning) + "'\n";
    }
  }
  return script;
}

}  // namespace

Action addCompletion(CLI::App& command) {
  const auto shell = std::make_shared<std::string>();
  command.add_option("SHELL", *shell, "bash, zsh or fish")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}))
      ->type_name("");
  command.footer("Example:\n  source <(quillmere completion bash)");
  return [shell] {
    printResult(*shell == "bash" ? forBash() : *shell == "zsh" ? forZsh() : forFish());
    return ExitStatus::Done;
  };
}

}  // namespace quillmere::app
