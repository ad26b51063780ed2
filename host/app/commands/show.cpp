#include <CLI/CLI.hpp>
#include <array>
#include <memory>

#include "base/json.h"
#include "base/utf8.h"
#include "commands.h"
#include "record/picture_record.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

struct Options {
  std::string picture;
  bool json = false;
};

struct Row {
  const char *key, *label;
};
// In the order in which they are shown; numbers, texts and objects of these alike.
constexpr std::array kRows{
    Row{"effective_prompt", "prompt"},
    Row{"system_prompt", "system prompt"},
    Row{"prompt", "prompt"},
    Row{"workflow_path", "workflow"},
    Row{"workflow_id", "workflow ID"},
    Row{"controls", "controls"},
    Row{"backend", "back end"},
    Row{"seed", "seed"},
    Row{"scene", "scene"},
    Row{"camera", "camera"},
    Row{"view", "view"},
    Row{"turntable", "turntable"},
    Row{"clip", "clip"},
    Row{"frame", "frame"},
    Row{"time", "time"},
    Row{"fps", "frames per second"},
    Row{"width", "width"},
    Row{"height", "height"},
    Row{"guide_mode", "guide mode"},
    Row{"guide", "guide"},
    Row{"style", "style"},
    Row{"server", "server"},
    Row{"server_version", "server version"},
    Row{"checkpoint", "checkpoint"},
    Row{"controlnet", "ControlNet"},
    Row{"helper_version", "helper version"},
    Row{"host_version", "host version"},
};
constexpr std::size_t kLabelWidth = 20;

std::string textOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_object()) return value.dump();
  std::string text;
  for (const auto& member : value.items()) {
    text += (text.empty() ? "" : ", ") + member.key() + "=" + textOf(member.value());
  }
  return text;
}

std::string rowsOf(const Json& record) {
  std::string rows;
  for (const auto& [key, label] : kRows) {
    const auto value = record.find(key);
    if (value == record.end() || value->is_array()) continue;
    if (key == std::string_view("effective_prompt") && record.contains("prompt")) continue;  // made of those below
    const bool unseeded = key == std::string_view("seed") && value->is_null();
    const std::string text = unseeded ? "none" : value->is_null() ? "" : textOf(*value);
    std::string head = label;
    head.resize(kLabelWidth, ' ');
    if (!text.empty()) rows += head + printable(text) + "\n";
  }
  return rows;
}

ExitStatus run(const Options& options) {
  const Json record = recordOf(options.picture);
  printResult(options.json ? lineOf(record) : rowsOf(record));
  return ExitStatus::Done;
}

}  // namespace

Action addShow(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  command.add_option("PICTURE", options->picture, "A picture that a render has written")->required()->type_name("");
  command.add_flag("--json", options->json, "Print all of it as a JSON object, the workflow's content too");
  command.footer(
      "What is kept in the picture goes before its side file PICTURE.json.\n"
      "Examples:\n"
      "  quillmere show render_0012.png\n"
      "  quillmere render --like render_0012.png --size 3840x2160");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
