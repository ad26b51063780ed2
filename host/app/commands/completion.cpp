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
  std::vector<std::string> path;  // of names; none for the root
  std::vector<Word> options;      // and sub-commands
};

std::vector<Word> optionsOf(const CLI::App& command) {
  std::vector<Word> words;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words.push_back({"--" + name, option->get_description()});
  }
  return words;
}

// The command, then those below it.
void addNodes(const CLI::App& command, const std::vector<std::string>& path, std::vector<Node>& nodes) {
  nodes.push_back({path, optionsOf(command)});
  const std::size_t self = nodes.size() - 1;
  for (const CLI::App* below : command.get_subcommands({})) {
    nodes[self].options.push_back({below->get_name(), below->get_description()});
    std::vector<std::string> name = path;
    name.push_back(below->get_name());
    addNodes(*below, name, nodes);
  }
}

// The root first.
std::vector<Node> allNodes() {
  CommandTree tree;
  std::vector<Node> nodes;
  addNodes(tree.root(), {}, nodes);
  return nodes;
}

bool isOption(const Word& word) {
  return word.text.starts_with("--");
}

// fish's word for one of the names standing before.
std::string seen(const std::string& names) {
  return "__fish_seen_subcommand_from " + names;
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
  std::string cases, nested;
  for (const Node& node : allNodes()) {
    std::string name;
    for (const std::string& word : node.path) name += (name.empty() ? "" : " ") + word;
    cases += "    '" + name + "') words='" + joined(node.options) + "' ;;\n";
    if (node.path.size() > 1) nested += (nested.empty() ? "'" : "|'") + name + "'";
  }
  return "_quillmere() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} command='' words=''\n"
         "  [ \"$COMP_CWORD\" -gt 1 ] && command=${COMP_WORDS[1]}\n"
         "  [ \"$COMP_CWORD\" -gt 2 ] && case \"$command ${COMP_WORDS[2]}\" in\n"
         "    " +
         nested +
         ") command=\"$command ${COMP_WORDS[2]}\" ;;\n"
         "  esac\n"
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

// Where fish is to offer what belongs to the node.
std::string fishCondition(const Node& node) {
  if (node.path.empty()) return "__fish_use_subcommand";
  std::string when, below;
  for (const std::string& name : node.path) when += (when.empty() ? "" : "; and ") + seen(name);
  for (const Word& word : node.options) below += isOption(word) ? "" : " " + word.text;
  return below.empty() ? when : when + "; and not " + seen(below.substr(1));
}

std::string forFish() {
  std::string script;
  for (const Node& node : allNodes()) {
    const std::string when = fishCondition(node);
    for (const Word& word : node.options) {
      script += "complete -c quillmere -n '" + when + "' " +
                (isOption(word) ? "-l " + word.text.substr(2) : "-a " + word.text) + " -d '" + quoted(word.meaning) +
                "'\n";
    }
  }
  return script;
}

}  // namespace

Action addCompletion(CLI::App& command) {
  const auto shell = std::make_shared<std::string>();
  command.add_option("SHELL", *shell, "bash, zsh or fish")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}, CLI::ignore_case))
      ->type_name("");
  command.footer("Example:\n  source <(quillmere completion bash)");
  return [shell] {
    printResult(*shell == "bash" ? forBash() : *shell == "zsh" ? forZsh() : forFish());
    return ExitStatus::Done;
  };
}

}  // namespace quillmere::app
