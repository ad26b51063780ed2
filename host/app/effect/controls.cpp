#include "controls.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <vector>

#include "base/atomic_file.h"
#include "files/ordinary_file.h"
#include "values/failure.h"
#include "values/texts.h"
#include "workflow_catalog.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "controls.json";

template <class Number>
std::optional<Number> whole(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc{} && read.ptr == end ? std::optional(number) : std::nullopt;
}

Json valueOf(const std::string& text) {
  if (text == "true" || text == "false") return text == "true";
  if (const auto number = whole<std::int64_t>(text)) return *number;
  if (const auto number = whole<std::uint64_t>(text)) return *number;
  if (const auto number = whole<double>(text); number && std::isfinite(*number)) return *number;
  const bool quoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
  return quoted ? text.substr(1, text.size() - 2) : text;
}

bool isValue(const Json& value) {
  return value.is_string() || value.is_boolean() || value.is_number();
}

}  // namespace

void readControl(const std::string& text, Json& controls) {
  const std::string what = "--control '" + text + "'";
  requireUtf8(what, text);
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw Failure(ExitStatus::Usage, what, "no value for a control",
                  "write NAME=VALUE, for example --control Strength=0.6; quillmere workflows controls lists them");
  }
  controls[text.substr(0, equals)] = valueOf(text.substr(equals + 1));
}

Json checkedControls(const Json& value) {
  if (value.is_null()) return Json::object();
  if (!value.is_object()) throw Error("is no object of values");
  for (const auto& control : value.items()) {
    if (!isValue(control.value())) throw Error("holds no text, number or switch for '" + control.key() + "'");
  }
  return value;
}

std::optional<std::string> controlCalled(const std::string& name, const Json& controls) {
  std::vector<std::string> names;
  for (const auto& control : controls.items()) names.push_back(control.key());
  const auto found = indexOfName(names, name);
  return found ? std::optional(names[*found]) : std::nullopt;
}

Json mergedControls(const Json& kept, const Json& given) {
  Json merged = kept;
  for (const auto& control : given.items()) {
    if (const auto same = controlCalled(control.key(), merged)) merged.erase(*same);
    merged[control.key()] = control.value();
  }
  return merged;
}

fs::path writeControlled(const fs::path& workflow, const Json& controls, const fs::path& folder) {
  refuse(obstacleAt("workflow", workflow));
  std::error_code error;  // a folder that is missing is told by the file that can't be written
  fs::create_directories(folder, error);
  fs::path file = fs::absolute(folder) / kFile;
  const Json wrapper{{"workflow", fs::absolute(workflow).lexically_normal().string()}, {"controls", controls}};
  writeFile(file, wrapper.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
  return file;
}

void setControls(NodeParameters& node, const Json& controls, const fs::path& folder) {
  if (controls.empty()) return;
  const std::string workflow = node.text(QUILLMERE_WORKFLOW_PATH);
  if (workflow.empty()) {
    throw Failure(ExitStatus::Usage, "control '" + controls.begin().key() + "'", "no workflow is chosen that has it",
                  "choose one with --workflow");
  }
  const fs::path file = writeControlled(workflow, controls, folder);
  storeWorkflow(node, node.number(QUILLMERE_WORKFLOW), node.text(QUILLMERE_WORKFLOW_ID), file.string());
}

}  // namespace quillmere::app
