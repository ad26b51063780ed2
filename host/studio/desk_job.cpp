#include "desk_job.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string_view>

#include "commands/commands.h"
#include "request.h"
#include "values/frame_set.h"
#include "values/frames.h"

namespace quillmere::studio {
namespace {

constexpr std::size_t kLongestValue = std::size_t{100} << 10U;  // bytes; a command line takes little more in one word
constexpr std::size_t kMostValues = 1000;

// What is rendered and how, in the order in which command lines have it; neither where this program keeps its things
// nor what it prints.
constexpr std::array<std::string_view, 21> kOptions{
    "camera",     "view",   "turntable", "clip",        "loop",       "fps",         "time",
    "size",       "output", "workflow",  "style",       "seed",       "exposure",    "samples",
    "background", "light",  "two-sided", "depth-range", "depth-kind", "normal-kind", "exr-encoding"};
// Those that the page has fields of its own for.
constexpr std::array<std::string_view, 4> kShownElsewhere{"camera", "workflow", "size", "time"};
constexpr const char* kFrames = "frames";
constexpr const char* kGuideMode = "QUILLMERE_GUIDE_MODE";
constexpr const char* kWorkflow = "QUILLMERE_WORKFLOW";
constexpr const char* kCamera = "QUILLMERE_CAMERA";

template <std::size_t N>
bool holds(const std::array<std::string_view, N>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

const Json& memberOf(const Json& job, const char* name, const Json& otherwise) {
  const auto found = job.find(name);
  if (found == job.end()) return otherwise;
  if (!found->is_object() || found->size() > kMostValues)
    throw Refused(400, std::string("'") + name + "' is no object");
  return *found;
}

std::string checkedText(const std::string& text, const std::string& name) {
  if (text.find('\0') != std::string::npos) throw Refused(400, "'" + name + "' holds a character that no command can");
  if (text.size() > kLongestValue) throw Refused(413, "'" + name + "' is too long");
  return text;
}

std::string textOf(const Json& value, const std::string& name) {
  if (value.is_string()) return checkedText(value.get<std::string>(), name);
  if (value.is_boolean() || value.is_number()) return value.dump();
  throw Refused(400, "'" + name + "' is neither a text nor a number");
}

// An empty value behind "=" would be read as none.
void append(std::vector<std::string>& words, const std::string& option, const std::string& value) {
  if (value.empty()) {
    words.insert(words.end(), {option, value});
  } else {
    words.push_back(option + "=" + value);
  }
}

void appendAll(std::vector<std::string>& words, const std::string& name, const Json& value) {
  const std::string option = "--" + name;
  if (value.is_boolean()) {
    if (value.get<bool>()) words.push_back(option);
  } else if (value.is_array()) {
    if (value.size() > kMostValues) throw Refused(400, "'" + name + "' holds too many");
    for (const Json& one : value) append(words, option, textOf(one, name));
  } else {
    append(words, option, textOf(value, name));
  }
}

void appendAssignments(std::vector<std::string>& words, const char* option, const Json& values) {
  for (const auto& [name, value] : values.items()) {
    words.push_back(std::string(option) + "=" + checkedText(name, name) + "=" + textOf(value, name));
  }
}

void refuseOthers(const Json& options) {
  for (const auto& [name, value] : options.items()) {
    if (name != kFrames && !holds(kOptions, name)) throw Refused(400, "a page can't give the option '" + name + "'");
  }
}

// A panel looks through one camera.
Json valueFor(const std::string& command, std::string_view name, const Json& value) {
  if (command != "panel" || name != "camera" || !value.is_array() || value.empty()) return value;
  return value.front();
}

void appendFrames(std::vector<std::string>& words, const Json& job, const Json& options, JobFrames frames) {
  if (options.contains("time")) return;
  if (frames == JobFrames::All) return appendAll(words, kFrames, options.value(kFrames, Json("0")));
  const Json frame = job.value("frame", Json(0));
  if (!frame.is_number_integer()) throw Refused(400, "'frame' is no whole number");
  appendAll(words, kFrames, frame.dump());
}

// How the guide is drawn is a field of the panel and an option of `guide`.
void appendGuideMode(std::vector<std::string>& words, const Json& set) {
  const auto found = set.find(kGuideMode);
  if (found == set.end()) return;
  const auto number =
      found->is_string() ? numberIn<std::size_t>(found->get<std::string>()) : std::optional<std::size_t>();
  if (number && *number < app::kGuideModeWords.size()) append(words, "--guide", app::kGuideModeWords[*number]);
}

const CLI::Option* optionOf(const CLI::App& command, std::string_view name) {
  return command.get_option_no_throw("--" + std::string(name));
}

// What its value is called, without what checks it.
std::string exampleOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.substr(0, type.find(':'));
}

// The words that an option takes, where they are all.
Json wordsTaken(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return "flag";
  const std::string names = exampleOf(option);
  const auto plain = [](char letter) { return (letter >= 'a' && letter <= 'z') || letter == '|'; };
  const bool listed = names.find('|') != std::string::npos && std::all_of(names.begin(), names.end(), plain);
  return listed ? Json(CLI::detail::split(names, '|')) : Json("text");
}

std::string unwrapped(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

// Empty where none is chosen.
std::string workflowOf(const Json& saved) {
  const Json parameters = saved.value("parameters", Json::object());
  const std::string id = parameters.value("QUILLMERE_WORKFLOW_ID", "");
  return id.empty() ? parameters.value("QUILLMERE_WORKFLOW_PATH", "") : id;
}

Json optionsFrom(const Json& saved, const Json& rows) {
  Json options = saved.value("options", Json::object());
  const Json drawing = saved.value("drawing", Json::object());
  for (const auto& [name, value] : drawing.items()) {
    std::string option = name;
    std::replace(option.begin(), option.end(), '_', '-');
    options[option] = value;
  }
  if (const std::string workflow = workflowOf(saved); !workflow.empty()) options["workflow"] = workflow;
  for (const Json& row : rows) {
    const bool camera = row.value("name", "") == kCamera && row["value"].is_string();
    if (camera && !options.contains("camera") && !options.contains("view")) {
      options["camera"] = Json::array({row["value"]});
    }
  }
  return options;
}

bool isGiven(const Json& row) {
  const std::string name = row.value("name", ""), type = row.value("type", "");
  return name != kCamera && name != kWorkflow && type != "read-only" && row.value("enabled", false);
}

}  // namespace

std::vector<std::string> wordsFor(const std::string& command, const Json& job, JobFrames frames) {
  const Json none = Json::object();
  const Json &options = memberOf(job, "options", none), &set = memberOf(job, "set", none);
  refuseOthers(options);
  app::CommandTree tree;
  const CLI::App& called = *tree.root().get_subcommand(command);
  std::vector<std::string> words{command, checkedText(requiredText(job, "scene"), "scene")};
  for (const std::string_view name : kOptions) {
    const auto found = options.find(std::string(name));
    if (found == options.end() || optionOf(called, name) == nullptr) continue;
    appendAll(words, std::string(name), valueFor(command, name, *found));
  }
  if (optionOf(called, kFrames) != nullptr) appendFrames(words, job, options, frames);
  if (optionOf(called, "set") != nullptr) {
    appendAssignments(words, "--set", set);
  } else {
    appendGuideMode(words, set);
  }
  if (optionOf(called, "control") == nullptr) return words;
  const std::vector<std::string> controls = controlWords(job);
  words.insert(words.end(), controls.begin(), controls.end());
  return words;
}

std::vector<std::string> controlWords(const Json& holder) {
  std::vector<std::string> words;
  appendAssignments(words, "--control", memberOf(holder, "control", Json::object()));
  return words;
}

void requireRender(const std::vector<std::string>& words) {
  app::CommandTree tree;
  try {
    tree.root().parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::ParseError& error) {
    throw Refused(422, error.what());
  }
}

Json offeredOptions() {
  app::CommandTree tree;
  const CLI::App& render = *tree.root().get_subcommand("render");
  Json offered = Json::array();
  for (const std::string_view name : kOptions) {
    const CLI::Option* option = optionOf(render, name);
    if (option == nullptr || holds(kShownElsewhere, name)) continue;
    offered.push_back({{"name", name},
                       {"help", unwrapped(option->get_description())},
                       {"takes", wordsTaken(*option)},
                       {"default", option->get_default_str()},
                       {"example", exampleOf(*option)},
                       {"group", option->get_group()}});
  }
  return offered;
}

Json jobFrom(const Json& saved, const Json& rows, const Json& plain) {
  Json set = Json::object(), control = Json::object();
  for (const Json& row : rows) {
    const auto same = std::find_if(plain.begin(), plain.end(), [&](const Json& one) { return one["id"] == row["id"]; });
    if (isGiven(row) && (same == plain.end() || (*same)["value"] != row["value"])) {
      set[row.value("name", "")] = row["value"].is_string() ? row["value"] : Json(row["value"].dump());
    }
  }
  Json options = optionsFrom(saved, rows);
  if (!options.contains("workflow")) set[kWorkflow] = "0";
  const Json controls = saved.value("controls", Json::object());
  for (const auto& [name, value] : controls.items()) {
    control[name] = value.is_string() ? "\"" + value.get<std::string>() + "\"" : value.dump();
  }
  const Json frames = options.value(kFrames, Json("0"));
  const std::int32_t frame = frames.is_string() ? app::parseFrameSet(frames.get<std::string>()).first() : 0;
  return {
      {"scene", saved.value("scene", "")}, {"frame", frame}, {"options", options}, {"set", set}, {"control", control}};
}

}  // namespace quillmere::studio
