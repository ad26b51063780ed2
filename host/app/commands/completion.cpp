#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "base/utf8.h"
#include "candidates.h"
#include "commands.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

struct Shell {
  const char *name, *script;
};

// Each asks the command itself, so that what it offers is true of its version, and of the scene and the catalog at
// hand. Where nothing is offered, the shell completes files.
constexpr Shell kShells[] = {
    {"bash", R"sh(_quillmere() {
  local line
  COMPREPLY=()
  while IFS= read -r line; do
    COMPREPLY+=("$(printf '%q' "${line%%$'\t'*}")")
  done < <("${COMP_WORDS[0]/#\~/$HOME}" completion --offer -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  if [[ ${COMPREPLY[0]-} == *= ]]; then compopt -o nospace 2>/dev/null; fi
}
complete -o default -F _quillmere quillmere
)sh"},
    {"zsh", R"sh(#compdef quillmere
_quillmere() {
  local -a offered
  offered=("${(@f)$(quillmere completion --offer -- "${words[@]:1:$((CURRENT - 1))}" 2>/dev/null)}")
  offered=("${(@)offered%%$'\t'*}")
  if [[ -n ${offered[1]} ]]; then compadd -a offered; else _files; fi
}
if [[ ${funcstack[1]} == _quillmere ]]; then _quillmere "$@"; else compdef _quillmere quillmere; fi
)sh"},
    {"fish", R"sh(function __quillmere_offer
  set -l before (commandline -opc)
  set -l offered (quillmere completion --offer -- $before[2..-1] (commandline -ct) 2>/dev/null)
  if test (count $offered) -gt 0
    printf '%s\n' $offered
  else
    __fish_complete_path (commandline -ct)
  end
end
complete -c quillmere -f -a '(__quillmere_offer)'
)sh"},
};

struct Options {
  std::vector<std::string> words;  // the shell's name, or the words of an unfinished command line
  bool offer = false;
};

// A line each: the text, and behind a tab its meaning.
std::string offered(const std::vector<std::string>& words, const CLI::App& root) {
  std::string lines;
  for (const Candidate& one : candidatesFor(words, root)) {
    const std::string meaning = one.meaning.substr(0, one.meaning.find('\n'));
    lines += printable(one.text) + (meaning.empty() ? "" : "\t" + printable(meaning)) + "\n";
  }
  return lines;
}

std::string scriptFor(const std::vector<std::string>& words) {
  const std::string name = words.size() == 1 ? words.front() : "";
  const auto* const found =
      std::find_if(std::begin(kShells), std::end(kShells), [&](const Shell& shell) { return name == shell.name; });
  if (found != std::end(kShells)) return found->script;
  throw Failure(ExitStatus::Usage, "completion",
                name.empty() ? "no shell is named" : "'" + name + "' is no shell that it is for",
                "name bash, zsh or fish");
}

}  // namespace

Action addCompletion(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  command.add_option("SHELL", options->words, "The shell to complete in")->type_name("bash|zsh|fish");
  command.add_flag("--offer", options->offer,
                   "Print what may stand at the end of a command line, whose words come behind '--'");
  command.footer("Example:\n  source <(quillmere completion bash)");
  return [options, &command] {
    printResult(options->offer ? offered(options->words, *command.get_parent()) : scriptFor(options->words));
    return ExitStatus::Done;
  };
}

}  // namespace quillmere::app
