#include "candidates.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "options.h"
#include "scene/scene.h"

namespace quillmere::app {
namespace {

// The part of a command line that is finished.
struct Typed {
  const CLI::App* command = nullptr;
  std::vector<std::string> positionals;       // of that command
  const CLI::Option* waits = nullptr;         // takes the next word as its value
  std::string scene, writeDirectory, plugin;  // where they were given
};

void takeValue(const std::string& option, const std::string& value, Typed& typed) {
  if (option == "--write-dir") typed.writeDirectory = value;
  if (option == "--plugin") typed.plugin = value;
}

void takePositional(const std::string& word, Typed& typed) {
  const auto below = typed.command->get_subcommands([&](const CLI::App* one) { return one->check_name(word); });
  if (!below.empty()) {
    typed.command = below.front();
    return;
  }
  typed.positionals.push_back(word);
  if (typed.scene.empty()) typed.scene = word;
}

Typed readTyped(const std::vector<std::string>& words, const CLI::App& root) {
  Typed typed{&root, {}, nullptr, {}, {}, {}};
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    const std::string& word = words[i];
    if (typed.waits != nullptr) {
      takeValue(words[i - 1], word, typed);
      typed.waits = nullptr;
    } else if (word.starts_with("-")) {
      const CLI::Option* option = typed.command->get_option_no_throw(word);
      if (option != nullptr && option->get_items_expected_max() > 0) typed.waits = option;
    } else {
      takePositional(word, typed);
    }
  }
  return typed;
}

// "quick|final" but not "ID|NAME=VALUE": words that are to be written as they stand.
std::vector<Candidate> wordsOf(const std::string& type) {
  const auto plain = [](char letter) { return letter == '|' || std::islower(static_cast<unsigned char>(letter)) != 0; };
  std::vector<Candidate> words;
  if (type.find('|') == std::string::npos || !std::all_of(type.begin(), type.end(), plain)) return words;
  for (std::size_t begin = 0; begin <= type.size();) {
    const std::size_t end = std::min(type.find('|', begin), type.size());
    words.push_back({type.substr(begin, end - begin), ""});
    begin = end + 1;
  }
  return words;
}

std::vector<Candidate> camerasOf(const scene::Scene& scene) {
  std::vector<Candidate> cameras;
  for (const scene::CameraInfo& camera : scene.cameras()) cameras.push_back({camera.name, ""});
  return cameras;
}

std::vector<Candidate> clipsOf(const scene::Scene& scene) {
  std::vector<Candidate> clips;
  for (const auto& clip : scene.clips()) clips.push_back({clip.name, ""});
  return clips;
}

std::vector<Candidate> workflowsOf(const Typed& typed) {
  host::Events nobody;
  EffectSession session(writeDirectoryOf({typed.writeDirectory, typed.plugin}), pluginFolder(typed.plugin), nobody);
  std::vector<Candidate> workflows;
  for (const Workflow& workflow : catalogOf(session.node())) workflows.push_back({workflow.name, workflow.id});
  return workflows;
}

std::vector<Candidate> parametersOf(const Typed& typed) {
  std::vector<Candidate> parameters;
  for (const ParameterName& parameter : parameterNames(pluginFolder(typed.plugin).path)) {
    parameters.push_back({parameter.name + "=", ""});
  }
  return parameters;
}

std::vector<Candidate> valuesOf(const CLI::Option& option, const Typed& typed) {
  const std::string name = option.get_name(option.get_positional()), type = option.get_type_name();
  if (name == "--camera" && !typed.scene.empty()) return camerasOf(*scene::load(typed.scene));
  if (name == "--clip" && !typed.scene.empty()) return clipsOf(*scene::load(typed.scene));
  if (name == "--workflow" || name == "WORKFLOW") return workflowsOf(typed);
  if (name == "--set") return parametersOf(typed);
  return wordsOf(type.substr(0, type.find(':')));
}

std::vector<Candidate> optionsOf(const CLI::App& command) {
  std::vector<Candidate> options;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) options.push_back({"--" + name, option->get_description()});
  }
  return options;
}

// For a word that is no option's: a sub-command, or the next positional argument.
std::vector<Candidate> wordsBehind(const Typed& typed) {
  std::vector<Candidate> candidates;
  for (const CLI::App* below : typed.command->get_subcommands({})) {
    candidates.push_back({below->get_name(), below->get_description()});
  }
  const auto positionals = typed.command->get_options([](const CLI::Option* one) { return one->get_positional(); });
  if (!candidates.empty() || typed.positionals.size() >= positionals.size()) return candidates;
  return valuesOf(*positionals[typed.positionals.size()], typed);
}

std::vector<Candidate> allFor(const Typed& typed, const std::string& word) {
  if (typed.waits != nullptr) return valuesOf(*typed.waits, typed);
  return word.starts_with("-") ? optionsOf(*typed.command) : wordsBehind(typed);
}

}  // namespace

std::vector<Candidate> candidatesFor(const std::vector<std::string>& words, const CLI::App& root) {
  const std::string word = words.empty() ? "" : words.back();
  std::vector<Candidate> candidates;
  try {
    candidates = allFor(readTyped(words, root), word);
  } catch (const std::exception&) {  // whatever is wrong, the command itself will say so
    return {};
  }
  std::erase_if(candidates, [&](const Candidate& one) { return !one.text.starts_with(word); });
  return candidates;
}

}  // namespace quillmere::app
