#include "pass_options.h"

#include <CLI/CLI.hpp>

namespace quillmere::app {
namespace {

// An option that takes one of `words`.
template <class Kind, class Words>
CLI::Option* addKind(CLI::App& command, const char* flag, const Words& words, std::optional<Kind>& kind,
                     const char* help) {
  std::string listed;
  for (const char* word : words) listed += (listed.empty() ? "" : "|") + std::string(word);
  return command
      .add_option_function<std::string>(
          flag, [&words, &kind](const std::string& word) { kind = kindCalled<Kind>(words, word); }, help)
      ->check(CLI::IsMember(std::vector<std::string>(words.begin(), words.end())))
      ->type_name(listed)
      ->default_str(words.front());
}

}  // namespace

void addPassSettings(CLI::App& command, PassSettings& settings) {
  command
      .add_option_function<std::string>(
          "--depth-range", [&settings](const std::string& text) { settings.range = parseDepthRange(text); },
          "NEAR:FAR, the distances in metres that a picture of depth shows as white and as\n"
          "black (default: of all that is seen in the frames)")
      ->type_name("RANGE");
  addKind(command, "--depth-kind", kDepthKindWords, settings.depth,
          "How a picture of depth fades between them: even in 1 / distance, or in distance");
  addKind(command, "--normal-kind", kNormalKindWords, settings.normal,
          "Colours of a picture of normals: red right and green up; red right and green down;\n"
          "red left and green up, as ControlNet's 'normal bae' has it");
}

void addPassOptions(CLI::App& command, std::vector<std::string>& passes, PassSettings& settings) {
  std::vector<std::string> words;
  words.reserve(kNamedPasses.size() + 1);
  for (const NamedPass& pass : kNamedPasses) words.emplace_back(pass.name);
  words.emplace_back("all");
  command
      .add_option("--pass", passes,
                  "Write what the scene itself tells in place of the guide; several times for several.\n"
                  "A PNG is as image generators want it, an .exr holds all that is asked for in layers")
      ->check(CLI::IsMember(words))
      ->allow_extra_args(false)
      ->type_name("depth|normal|position|object|material|albedo|lines|all");
  addPassSettings(command, settings);
  addKind(command, "--line-color", kLineColorWords, settings.lines, "Of lines: white on black, or black on white");
}

}  // namespace quillmere::app
