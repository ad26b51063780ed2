#include "sequence_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace quillmere::app {
namespace {

void addFailureOptions(CLI::App& command, FailureRules& rules) {
  command
      .add_option("--retries", rules.retries,
                  "Try a frame again so many times when its failure may pass (the server is gone or\n"
                  "out of memory, the helper was killed), after longer and longer pauses")
      ->check(CLI::Range(0, kMostRetries))
      ->type_name("N")
      ->capture_default_str();
  auto* going = command.add_flag_callback(
      "--keep-going", [&rules] { rules.onFailure = OnFailure::KeepGoing; },
      "Render the other frames even after a failure that lasts, such as a missing model");
  command
      .add_flag_callback(
          "--stop-at-first-failure", [&rules] { rules.onFailure = OnFailure::Stop; },
          "Begin no other frame after one has failed, for whatever reason")
      ->excludes(going);
}

// Options that are the first process' alone: what it does with frames and with what it is told.
const std::vector<std::string> kNotForWorkers{
    "write-dir", "output-dir", "plugin",  "save-settings", "save-job",
    "dry-run",   "json",       "quiet",   "report",        "log",
    "resume",    "jobs",       "retries", "keep-going",    "stop-at-first-failure",
    "style",     "worker"};

std::string quoted(const std::string& word) {
  const auto plain = [](char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') ||
           std::string_view("-_./,:=@%+").find(letter) != std::string_view::npos;
  };
  if (!word.empty() && std::all_of(word.begin(), word.end(), plain)) return word;
  std::string text = "'";
  for (const char letter : word) {
    if (letter == '\'') text += "'\\'";
    text += letter;
  }
  text += '\'';
  return text;
}

void append(const CLI::Option& option, std::vector<std::string>& arguments) {
  const std::string name = "--" + option.get_lnames().front();
  const bool flag = option.get_items_expected_max() == 0;
  if (flag && option.results().front() == "true") return arguments.push_back(name);
  for (const std::string& value : option.results()) {
    std::string word = name;
    arguments.push_back(word.append("=").append(value));
  }
}

}  // namespace

void addSequenceOptions(CLI::App& command, SequenceOptions& options) {
  command.add_flag("--resume", options.resume,
                   "Keep the frames whose files are whole and were made by the same scene, camera,\n"
                   "size, prompts, workflow and whatever else makes them; render the others");
  addFailureOptions(command, options.rules);
  command
      .add_option("--jobs", options.jobs,
                  "Render so many frames at a time, each in a process of its own (default: 2 with a\n"
                  "server, so that the next guide is drawn meanwhile; as many as there are cores,\n"
                  "as far as memory goes, for drawings that need none)")
      ->check(CLI::Range(1, kMostJobs))
      ->type_name("N");
  command
      .add_option("--log", options.log,
                  "What the helper and the server say of each frame goes there too, '' for nowhere\n"
                  "(default: beside the output, of more than one frame)")
      ->type_name("FILE");
  command.add_flag(kWorkerOption, options.worker)->group("");  // told what to render on standard input
}

std::vector<std::string> argumentsOf(const CLI::App& command, const std::vector<std::string>& without) {
  std::vector<std::string> arguments{command.get_name()};
  for (const CLI::Option* option : command.get_options()) {
    if (option->count() == 0) continue;
    const auto& names = option->get_lnames();
    const auto left = [&](const std::string& name) {
      return std::find(names.begin(), names.end(), name) != names.end();
    };
    if (std::any_of(without.begin(), without.end(), left)) continue;
    if (!names.empty()) {
      append(*option, arguments);
    } else {
      for (const std::string& value : option->results())
        arguments.push_back(value.starts_with('-') ? "./" + value : value);
    }
  }
  return arguments;
}

std::vector<std::string> workerArguments(const CLI::App& command, const std::string& plugin,
                                         const std::string& pictures) {
  std::vector<std::string> arguments = argumentsOf(command, kNotForWorkers);
  arguments.insert(arguments.end(), {kWorkerOption, "--plugin=" + plugin});
  if (!pictures.empty()) arguments.push_back("--output-dir=" + pictures);
  return arguments;
}

std::string commandFor(const CLI::App& command, const std::string& frames, const std::string& output,
                       const OfAllFrames& kept) {
  std::vector<std::string> arguments =
      argumentsOf(command, {"frames", "frame", "time", "output", "save-settings", "save-job"});
  arguments.insert(arguments.end(), {"--frames=" + frames, "--output=" + output});
  if (!kept.view.empty() && command.count("--view") == 0) arguments.push_back("--view=" + kept.view);
  if (!kept.depthRange.empty() && command.count("--depth-range") == 0) {
    arguments.push_back("--depth-range=" + kept.depthRange);
  }
  return shellLine(arguments);
}

std::string shellLine(const std::vector<std::string>& arguments) {
  std::string text = "quillmere";
  for (const std::string& argument : arguments) text += " " + quoted(argument);
  return text;
}

}  // namespace quillmere::app
