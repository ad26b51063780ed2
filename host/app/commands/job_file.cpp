#include "job_file.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "base/atomic_file.h"
#include "base/file_reading.h"
#include "effect/settings.h"
#include "files/ordinary_file.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargest = 8U << 20U;  // bytes of a job
constexpr int kDeepest = 8;
constexpr std::size_t kLongest = 4096;  // bytes of a value
constexpr std::size_t kMostValues = 1000;

// What a job may say: how a render looks, but neither where this machine keeps its things nor what is printed.
constexpr std::array<std::string_view, 16> kOptions{
    "camera", "view",   "turntable",    "clip", "loop",  "fps",         "time",       "frames",
    "size",   "output", "exr-encoding", "seed", "style", "depth-range", "depth-kind", "normal-kind"};

[[noreturn]] void refuse(const fs::path& file, const std::string& why) {
  throw Failure(ExitStatus::Failed, "job '" + file.string() + "'", why, "correct it, or write it anew with --save-job");
}

// Relative to the job's folder; none stays none.
std::string pathIn(const fs::path& job, const std::string& path) {
  return path.empty() ? "" : (fs::absolute(job).parent_path() / path).lexically_normal().string();
}

std::string textOf(const Json& value, const fs::path& file, const std::string& name) {
  const bool fits = value.is_string() && value.get_ref<const std::string&>().size() <= kLongest;
  if (!fits) refuse(file, "its \"" + name + "\" is no text of at most " + std::to_string(kLongest) + " bytes");
  const auto text = value.get<std::string>();
  requireUtf8("\"" + name + "\" of job '" + file.string() + "'", text);
  return name == "output" || name == "style" ? pathIn(file, text) : text;
}

// As a command line would have them, one for each time that the option is given.
std::vector<std::string> valuesOf(const Json& value, const fs::path& file, const std::string& name) {
  if (value.is_boolean()) return value.get<bool>() ? std::vector<std::string>{"true"} : std::vector<std::string>{};
  if (!value.is_array()) return {textOf(value, file, name)};
  if (value.size() > kMostValues) refuse(file, "its \"" + name + "\" holds more than " + std::to_string(kMostValues));
  std::vector<std::string> values;
  for (const Json& one : value) values.push_back(textOf(one, file, name));
  return values;
}

bool isOpen(const CLI::App& command, const CLI::Option& option) {
  const auto excluded = option.get_excludes();
  return command.count(option.get_name()) == 0 &&
         std::none_of(excluded.begin(), excluded.end(), [](const CLI::Option* other) { return other->count() > 0; });
}

void give(CLI::Option& option, const std::vector<std::string>& values, const fs::path& file) {
  if (values.empty()) return;
  for (const std::string& value : values) option.add_result(value);
  try {
    option.run_callback();
  } catch (const CLI::Error& error) {
    refuse(file, std::string("its options: ") + error.what());
  } catch (const Failure& failure) {
    refuse(file, std::string("its options: ") + failure.what());
  }
}

}  // namespace

bool isJob(const fs::path& file) {
  if (file.extension() != ".json" || obstacleAt("job", file)) return false;
  try {
    const Json document = parsedJson(readText(file, kLargest), kDeepest);
    return document.is_object() && document.value("format", Json()) == kJobFormat;
  } catch (const Error&) {
    return false;
  }
}

std::string takeJob(const fs::path& file, CLI::App& command) {
  const Json document = settingsDocument(file);
  const Json options = document.value("options", Json::object());
  if (!options.is_object()) refuse(file, "its \"options\" are no object");
  std::vector<std::pair<CLI::Option*, const Json*>> given;  // all are looked at before one is given
  for (const auto& [name, value] : options.items()) {
    if (std::find(kOptions.begin(), kOptions.end(), name) == kOptions.end()) {
      refuse(file, "it holds the option \"" + name + "\", which jobs don't have");
    }
    CLI::Option* option = command.get_option("--" + name);
    if (isOpen(command, *option)) given.emplace_back(option, &value);
  }
  for (const auto& [option, value] : given) {
    give(*option, valuesOf(*value, file, option->get_lnames().front()), file);
  }
  return pathIn(file, textOf(document.value("scene", Json()), file, "scene"));
}

void saveJob(const fs::path& file, const std::string& scene, const Json& options, const Json& settings) {
  Json document{{"format", kJobFormat}, {"version", kSettingsVersion}, {"scene", scene}, {"options", options}};
  document.update(settings);
  writeFile(file, document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace quillmere::app
