#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/json.h"
#include "effect/effect_session.h"
#include "files/ordinary_file.h"

namespace quillmere::app {

// What one check found.
struct Finding {
  enum class State { Ok, Note, Broken };  // a note doesn't keep a render from working

  std::string subject;
  State state = State::Ok;
  std::string detail;
  std::string remedy;  // empty when there is nothing to do, or `detail` tells that too
};

inline Finding broken(const std::string& subject, const Obstacle& obstacle) {
  return {subject, Finding::State::Broken, obstacle.what + ": " + obstacle.why, obstacle.remedy};
}

// The members of JSON objects that others wrote: empty for one that is missing or of another kind.
std::string textAt(const Json& object, const char* key);
std::int64_t countAt(const Json& object, const char* key);  // 0 for one that is missing
std::vector<Json> objectsAt(const Json& object, const char* key);

inline constexpr std::string_view kServer = "server ";  // how the subjects of servers begin

// Has the helper look for the servers that renders would look for. One that doesn't answer is a note: others may do.
std::vector<Finding> checkServers(const PluginFolder& plugin);

struct WorkflowCheck {
  bool readable = true;   // else the host could not even show the file to the helper
  bool answered = false;  // by the helper
  bool known = false;     // as a workflow for one of its back ends, whether it can be run here or not
  Finding finding;
  Json answer = Json::object();  // the helper's whole answer, or "workflow", "ok", "problem" and "remedy" in its form
};

// Has the helper check the workflow in `file`, called `name`, and the back end that it names, down to the nodes and
// models that its server lacks. It is killed after `patience`, or when `stop` (may be empty) says true; when there is
// no patience, the finding is a note.
WorkflowCheck checkWorkflow(const PluginFolder& plugin, const std::string& name, const std::filesystem::path& file,
                            std::chrono::milliseconds patience, const std::function<bool()>& stop = {});

// The same for the workflow's controls, which stand in the answer.
WorkflowCheck askForControls(const PluginFolder& plugin, const std::string& name, const std::filesystem::path& file,
                             std::chrono::milliseconds patience);

}  // namespace quillmere::app
