#include "settings_file.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "base/atomic_file.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFormat = "quillmere settings";
constexpr int kVersion = 1;
constexpr std::size_t kLargest = 8U << 20U;  // bytes; a prompt has at most one MiB
constexpr int kDeepest = 8;                  // deeper values could use up the stack
constexpr const char* kRemedy = "give a file that --save-settings has written";

[[noreturn]] void refuse(const fs::path& file, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Failed, "settings '" + file.string() + "'", why, remedy);
}

std::string contentOf(const fs::path& file) {
  std::error_code error;
  std::ifstream stream;
  if (fs::is_regular_file(file, error)) stream.open(file, std::ios::binary);
  if (!stream.is_open()) refuse(file, "cannot be read", "give the path of a readable file");
  std::string content(kLargest + 1, '\0');
  stream.read(content.data(), static_cast<std::streamsize>(content.size()));
  if (stream.bad()) refuse(file, "cannot be read", "check the disk that it lies on");
  content.resize(static_cast<std::size_t>(stream.gcount()));
  if (content.size() > kLargest) refuse(file, "is larger than 8 MiB", kRemedy);
  return content;
}

Json parsed(const fs::path& file) {
  const auto flat = [&file](int depth, Json::parse_event_t, const Json&) {
    if (depth > kDeepest) refuse(file, "is nested more deeply than settings are", kRemedy);
    return true;
  };
  try {
    return Json::parse(contentOf(file), flat);
  } catch (const Json::parse_error& error) {
    refuse(file, "is damaged at byte " + std::to_string(error.byte) + ", where it is not JSON",
           "write it anew with --save-settings");
  } catch (const Json::out_of_range&) {
    refuse(file, "holds a number that is too large", "write it anew with --save-settings");
  }
}

void checkHead(const fs::path& file, const Json& document) {
  if (!document.is_object() || !document.contains("format") || document["format"] != kFormat) {
    refuse(file, "is no settings file: its \"format\" is not \"" + std::string(kFormat) + "\"", kRemedy);
  }
  const Json version = document.value("version", Json());
  if (version != kVersion) {
    const std::string present = version.is_number() ? version.dump() : "unknown";
    refuse(file, "has version " + present + ", not " + std::to_string(kVersion),
           "write it anew with this version's --save-settings");
  }
  if (!document.contains("parameters") || !document["parameters"].is_object()) {
    refuse(file, "holds no \"parameters\"", kRemedy);
  }
}

}  // namespace

void saveSettings(const NodeParameters& node, const fs::path& file) {
  const Json stored = node.stored();
  Json parameters = Json::object();
  for (const Parameter& parameter : node.all()) parameters[parameter.name] = stored[std::to_string(parameter.id)];
  const Json document{{"format", kFormat}, {"version", kVersion}, {"parameters", parameters}};
  writeFile(file, document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

Json readSettings(const NodeParameters& node, const fs::path& file) {
  const Json document = parsed(file);
  checkHead(file, document);
  for (const auto& entry : document["parameters"].items()) {
    const std::string& name = entry.key();
    const bool known =
        std::any_of(node.all().begin(), node.all().end(), [&](const Parameter& one) { return one.name == name; });
    if (!known) refuse(file, "holds '" + name + "', which the effect doesn't have", "remove it from the file");
  }
  return document["parameters"];
}

}  // namespace quillmere::app
