#include "commands.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "help_text.h"
#include "report/output.h"
#include "sequence/worker_messages.h"
#include "sequence_options.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

// In the order in which help lists them.
constexpr std::array kCommands{
    Command{"render", "Render frames of a scene through the effect", addRender},
    Command{"guide", "Write the guide image alone, as the effect would capture it", addGuide},
    Command{"submit", "Have a farm's engine render: a Slurm job, or a template of Open Job Description", addSubmit},
    Command{"panel", "Show the effect's attribute panel: values, choices, limits", addPanel},
    Command{"cameras", "List the cameras of a scene", addCameras},
    Command{"info", "Tell what a scene holds: clips, cameras, lights, sizes, what isn't supported", addInfo},
    Command{"workflows", "List the workflows of the catalog, and change the list", addWorkflows},
    Command{"show", "Show what made a picture: prompt, workflow, seed, scene, camera", addShow},
    Command{"sheet", "Put finished frames on one sheet, with their guides and numbers", addSheet},
    Command{"movie", "Make a film of finished frames, with the ffmpeg of the machine", addMovie},
    Command{"doctor", "Check what a render needs, and say what to do about what is missing", addDoctor},
    Command{"completion", "Print a script that completes this command in a shell", addCompletion,
            Command::TellsOf::AllCommands},
    Command{"help", "Tell about a command, or print the manual page", addHelp},
};

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
  std::vector<std::string> names;
  std::string known;
  for (const CLI::App* command : below) {
    if (command->check_name(word)) return refuseUnknownCommand(*command, argc, argv, at + 1);
    names.push_back(command->get_name());
    known += (known.empty() ? "" : ", ") + command->get_name();
  }
  throw Failure(ExitStatus::Usage, "command '" + word + "'", "there is none of that name",
                suggestion(names, word) + "the commands: " + known);
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

// For the first argument that looks like an option and is none of the command that was called; mostly empty.
std::string suggestedOption(const CLI::App& root, int argc, const char* const* argv) {
  const CLI::App* command = &root;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().back();
  std::vector<std::string> names;
  for (const CLI::Option* option : command->get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  for (int at = 1; at < argc; ++at) {
    const std::string_view argument = argv[at];
    const std::string_view name = argument.substr(0, argument.find('='));
    if (name.starts_with("--") && name.size() > 2 && std::find(names.begin(), names.end(), name) == names.end()) {
      return suggestion(names, name);
    }
  }
  return {};
}

[[noreturn]] void refuse(const CLI::App& root, const CLI::ParseError& error, const std::string& suggested) {
  const std::string command = calledCommand(root);
  throw Failure(ExitStatus::Usage, command.empty() ? "arguments" : command, error.what(),
                suggested + "see quillmere " + command + (command.empty() ? "" : " ") + "--help");
}

ExitStatus runChosen(const std::vector<std::pair<CLI::App*, Action>>& actions) {
  for (const auto& [command, action] : actions) {
    if (command->parsed()) return action();
  }
  return ExitStatus::Usage;
}

ExitStatus parseAndRun(int argc, const char* const* argv, std::span<const Command> further) {
  CommandTree tree(further, argc > 1 ? argv[1] : "");
  refuseUnknownCommand(tree.root(), argc, argv);
  try {
    tree.root().parse(argumentsFor(tree.root(), argc, argv));
  } catch (const CLI::Success& answer) {  // --help, --version
    tree.root().exit(answer);
    return ExitStatus::Done;
  } catch (const CLI::ParseError& error) {
    const bool unknown = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    refuse(tree.root(), error, unknown ? suggestedOption(tree.root(), argc, argv) : "");
  }
  return runChosen(tree.actions());
}

}  // namespace

CommandTree::CommandTree(std::span<const Command> further, std::string_view called)
    : root_("Renders 3D scenes as generated pictures: a stand-alone host for the Quillmere Renderer effect.",
            "quillmere") {
  root_.set_version_flag("--version", "quillmere " QUILLMERE_VERSION, "Print the version and exit");
  root_.require_subcommand(1);
  root_.footer(
      "Examples:\n"
      "  quillmere render harbour.glb --frames 1-48x4 --prompt \"a misty harbour at dawn\"\n"
      "  quillmere guide harbour.glb -o guide.png --camera Quayside\n"
      "  quillmere doctor\n"
      "\nExit status: 0 done, 1 failed, 2 wrong use, 130 stopped by the user.");
  root_.formatter(std::make_shared<HelpFormatter>());  // the sub-commands' too
  std::vector<Command> commands(kCommands.begin(), kCommands.end());
  commands.insert(commands.end(), further.begin(), further.end());
  const auto alone = std::ranges::find_if(
      commands, [&](const Command& one) { return one.name == called && one.tellsOf == Command::TellsOf::Itself; });
  for (auto command = commands.begin(); command != commands.end(); ++command) {
    CLI::App* added = root_.add_subcommand(command->name, command->summary);
    if (alone == commands.end() || alone == command) actions_.emplace_back(added, command->add(*added));
  }
}

ExitStatus run(int argc, const char* const* argv, std::span<const Command> further) {
  const bool worker = std::find(argv, argv + argc, std::string_view(kWorkerOption)) != argv + argc;
  if (!worker) return parseAndRun(argc, argv, further);
  try {
    return parseAndRun(argc, argv, further);
  } catch (const std::exception& error) {
    const Ending ending = endingOf(error);
    Output answers(STDOUT_FILENO);
    WorkerReport(answers).renderEnds(ending);  // whoever has started it tells it, once for all of them
    return ending.status;
  }
}

}  // namespace quillmere::app
