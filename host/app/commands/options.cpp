#include "options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <string_view>

#include "base/file_reading.h"
#include "sdk/api/application.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

std::filesystem::path usersFolder() {
  try {
    return host::userDataDirectory();
  } catch (const Error&) {
    throw Failure(ExitStatus::Failed, "write directory", "HOME is not set, which would tell where your data belongs",
                  "set it, or give a folder with --write-dir");
  }
}

// An option whose text is the parameter's value.
struct TextOption {
  const char *flag, *kind, *help;
  int parameter;
};
constexpr std::array kTextOptions{
    TextOption{"--prompt", "TEXT", "What the picture shows", QUILLMERE_PROMPT},
    TextOption{"--output-dir", "DIR", "Folder for the generated pictures", QUILLMERE_OUTPUT_DIRECTORY},
    TextOption{"--prefix", "P", "How the names of the generated pictures begin", QUILLMERE_FILENAME_PREFIX},
};

// A pair of options that switch a parameter on and off.
struct SwitchOption {
  const char *flags, *help;
  int parameter;
};
constexpr std::array kSwitchOptions{
    SwitchOption{"--history,!--no-history", "Keep an entry of each picture in the history, or don't",
                 QUILLMERE_SAVE_HISTORY_SNAPSHOTS},
    SwitchOption{"--preview,!--no-preview", "Ask the host to show each picture once it is there, or don't",
                 QUILLMERE_OPEN_PREVIEW_AFTER_RENDER},
};

constexpr std::size_t kLongestPrompt = 1U << 20U;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // some editors begin UTF-8 with it

std::string readPrompt(const std::string& file) {
  const std::string what = "prompt file '" + file + "'";
  std::string text;
  try {
    text = readText(file, kLongestPrompt);
  } catch (const Error& error) {
    throw Failure(ExitStatus::Usage, what, error.what(), "give a text file of at most 1 MiB");
  }
  requireUtf8(what, text);
  if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  return text;
}

Assignment readAssignment(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw Failure(ExitStatus::Usage, "--set '" + text + "'", "not an assignment",
                  "write ID=VALUE or NAME=VALUE, for example --set QUILLMERE_HISTORY_LIMIT=50");
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

std::string seedRule(const std::string& text) {
  const std::vector<std::string> words{"frame", "random"};
  if (const auto word = indexOfName(words, text)) return words[*word];
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (!text.empty() && read.ec == std::errc{} && read.ptr == end) return std::to_string(number);
  throw Failure(ExitStatus::Usage, "--seed '" + text + "'", "no seed",
                suggestion(words, text) + "give a whole number from 0 to 2^64 - 1, frame or random");
}

void addTexts(CLI::App& command, EffectOptions& options) {
  const auto assign = [&options](int parameter, const Value& value) {
    options.assignments.push_back({parameter, value});
  };
  for (const TextOption& option : kTextOptions) {
    command
        .add_option_function<std::string>(
            option.flag, [assign, option](const std::string& text) { assign(option.parameter, text); }, option.help)
        ->type_name(option.kind);
  }
  command
      .add_option_function<std::string>(
          "--prompt-file", [assign](const std::string& file) { assign(QUILLMERE_PROMPT, readPrompt(file)); },
          "A UTF-8 text file that holds the prompt")
      ->type_name("F")
      ->check(CLI::ExistingFile)
      ->excludes("--prompt");
  command
      .add_option_function<std::string>(
          "--system-prompt",
          [assign](const std::string& text) {
            assign(QUILLMERE_UNLOCK_SYSTEM_PROMPT, true);
            assign(QUILLMERE_SYSTEM_PROMPT, text);
          },
          "What is told to the model before the prompt, in place of the default")
      ->type_name("TEXT");
}

void addSwitches(CLI::App& command, EffectOptions& options) {
  for (const SwitchOption& option : kSwitchOptions) {
    command.add_flag_function(
        option.flags,
        [&options, option](std::int64_t on) {
          options.assignments.push_back({option.parameter, on > 0});
        },
        option.help);
  }
}

}  // namespace

void addPluginOption(CLI::App& command, SessionOptions& options) {
  command.add_option("--plugin", options.plugin, "Folder of the plug-in (default: the one beside this program)")
      ->check(CLI::ExistingDirectory)
      ->type_name("DIR");
}

void addSessionOptions(CLI::App& command, SessionOptions& options) {
  command
      .add_option("--write-dir", options.writeDirectory,
                  "Folder for exchange files, history and pictures (default: the user's data folder)")
      ->type_name("DIR");
  addPluginOption(command, options);
}

std::filesystem::path writeDirectoryOf(const SessionOptions& options) {
  const std::string& given = options.writeDirectory;
  std::filesystem::path directory = given.empty() ? usersFolder() : std::filesystem::absolute(given).lexically_normal();
  requireUtf8("write directory '" + directory.string() + "'", directory.string());
  return directory;
}

void addGuideMode(CLI::App& command, std::function<void(GuideMode)> chosen) {
  command
      .add_option_function<std::string>(
          "--guide", [chosen = std::move(chosen)](const std::string& word) { chosen(guideModeOf(word)); },
          "How the guide image is drawn: quick as a viewport shows it, final as a full rendering")
      ->check(CLI::IsMember(kGuideModeWords, CLI::ignore_case))
      ->type_name("quick|final");
}

void addDrawingOptions(CLI::App& command, DrawingOptions& options) {
  command
      .add_option("--exposure", options.exposure, "Stops by which the final guide is brighter than the scene asks for")
      ->check(CLI::Range(-kMostStops, kMostStops))
      ->type_name("EV");
  command.add_option("--samples", options.samples, "Samples of each pixel of the final guide (default: 16)")
      ->check(CLI::Range(1, kMostSamples))
      ->type_name("N");
  command
      .add_option_function<std::string>(
          "--background", [&options](const std::string& text) { options.background = backgroundOf(text); },
          "What the final guide shows behind the scene: the sky (default), a colour, or a\n"
          "panorama, which also lights the scene")
      ->type_name("COLOUR|sky|FILE.hdr|exr");
  command
      .add_option("--light", options.light,
                  "What lights the final guide: default, the scene's lights or else a sun, and the\n"
                  "sky; scene, its lights alone; none, the sky alone")
      ->check(CLI::IsMember(std::vector<std::string>(std::begin(kLightWords), std::end(kLightWords))))
      ->type_name("default|scene|none");
  command.add_flag_function(
      "--two-sided,!--no-two-sided", [&options](std::int64_t on) { options.twoSided = on > 0; },
      "Show materials that are single-sided from both sides");
}

void addSeed(CLI::App& command, std::string& rule) {
  command
      .add_option_function<std::string>(
          "--seed", [&rule](const std::string& text) { rule = seedRule(text); },
          "Chance: one number for all frames, a number from each frame's, or another each time\n"
          "(default: as the workflow says)")
      ->type_name("N|frame|random");
}

void addEffectOptions(CLI::App& command, EffectOptions& options) {
  command.add_option("--workflow", options.workflow, "The workflow: its name or ID in the catalog, or its file")
      ->type_name("NAME|ID|FILE");
  addTexts(command, options);
  addGuideMode(command, [&options](GuideMode mode) {
    options.assignments.push_back({QUILLMERE_GUIDE_MODE, static_cast<int>(mode)});
  });
  addSwitches(command, options);
  command
      .add_option_function<std::vector<std::string>>(
          "--set",
          [&options](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) options.assignments.push_back(readAssignment(text));
          },
          "Any parameter of the effect, with the limits of its panel; may be given several times")
      ->type_name("ID|NAME=VALUE")
      ->allow_extra_args(false);
  command
      .add_option("--settings", options.settings, "Settings that --save-settings has written; the other options win")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
}

}  // namespace quillmere::app
