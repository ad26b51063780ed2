#include "addition.h"

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <string_view>

#include "base/atomic_file.h"
#include "base/utf8.h"
#include "doctor/helper_check.h"
#include "files/ordinary_file.h"
#include "process/process_tree.h"
#include "report/output.h"
#include "state_file.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargest = 256U << 20U;  // bytes; it may be a picture
constexpr std::size_t kLongest = 200;          // bytes, of a name or an identifier
constexpr std::chrono::seconds kPatience{60};

[[noreturn]] void refuse(const fs::path& file, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Failed, "workflow '" + file.string() + "'", why, remedy);
}

void check(const Addition& addition, const PluginFolder& plugin) {
  adoptOrphans();
  const WorkflowCheck checked = checkWorkflow(plugin, addition.as.name, addition.file, kPatience);
  const Finding& finding = checked.finding;
  if (!checked.answered) {
    refuse(addition.file, "it cannot be checked: " + finding.detail, "add it all the same with --no-check");
  }
  if (!checked.known) throw Failure(ExitStatus::Failed, "not added", finding.detail, finding.remedy);
  if (finding.state == Finding::State::Ok) return;
  printError("warning: '" + addition.as.name + "' can be chosen, but not be rendered yet: " + finding.detail +
             (finding.remedy.empty() ? "" : "\n  " + finding.remedy));
}

// A wrapper may name the file beside it that holds the graph, which a copy elsewhere would not find.
void requireSelfContained(const fs::path& file, const std::string& content) {
  using Json = nlohmann::json;
  const auto members = [](int depth, Json::parse_event_t, const Json&) { return depth <= 1; };
  const Json workflow = Json::parse(content, members, false);
  if (!workflow.is_object() || !workflow.contains("graph") || !workflow["graph"].is_string()) return;
  refuse(file, "it names the file of its graph, which a copy of it would not find",
         "put the graph itself in place of the name, or copy both files to ~/.quillmere/workflows and add that copy");
}

void requireNew(const StateFile& state, const Addition& addition) {
  std::vector<std::string> ids;
  for (const EntrySpan& entry : state.present().entries()) ids.push_back(entry.id);
  const auto same = indexOfName(ids, addition.as.id);
  if (!same) return;
  refuse(addition.file,
         "its identifier '" + addition.as.id + "' is that of '" + state.present().entries()[*same].name + "'",
         "give another with --id, or copy the file to '" + state.manager().workflow(ids[*same]).string() +
             "' to replace that one");
}

// The workflow's file in the manager's folder: removed again unless it is kept or was there before.
class Copy {
 public:
  Copy(const fs::path& file, const std::string& content, const fs::path& place) : place_(place) {
    std::error_code error;
    if (fs::equivalent(file, place, error)) return;
    requireSelfContained(file, content);
    const std::string remedy = "move that one away, or give another identifier with --id";
    made_ = !fs::exists(place, error);
    if (!made_ && contentOf("workflow", place, kLargest, remedy) != content) {
      refuse(file, "another file is where its copy belongs, '" + place.string() + "'", remedy);
    }
    if (made_) writeFile(place, content);
  }
  ~Copy() {
    std::error_code ignored;
    if (made_) fs::remove(place_, ignored);
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  void keep() { made_ = false; }

 private:
  fs::path place_;
  bool made_ = false;
};

// The list as it was, with the workflow where `text` has it.
std::vector<StateEntry> expectedOf(const StateFile& state, const std::string& text, const StateEntry& workflow) {
  const std::vector<StateEntry> changed = StateText(text, state.manager().state()).listed();
  std::vector<StateEntry> expected = state.present().listed();
  const auto place = std::find(changed.begin(), changed.end(), workflow) - changed.begin();
  expected.insert(expected.begin() + std::min(place, std::ssize(expected)), workflow);
  return expected;
}

bool standsInIds(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("._-").find(c) != std::string_view::npos;
}

void require(bool kept, const std::string& what, const std::string& why, const std::string& remedy) {
  if (!kept) throw Failure(ExitStatus::Usage, what, why, remedy);
}

}  // namespace

void requireName(const std::string& name) {
  const std::string what = "name '" + name + "'", remedy = "give another name";
  requireUtf8(what, name);
  require(name.find_first_not_of(' ') != std::string::npos, what, "it is empty", remedy);
  require(name.front() != ' ' && name.back() != ' ', what, "it begins or ends with a blank", remedy);
  require(name.find_first_of("\"\\{}") == std::string::npos, what,
          "it holds a double quote, a backslash or a brace, which the list of workflows can't", remedy);
  require(printable(name) == name, what, "it holds a character that can't be shown", remedy);
  require(name.size() <= kLongest, what, "it is longer than 200 bytes", remedy);
  require(name != "None", what, "the menu has this for no workflow", remedy);
}

void requireId(const std::string& id) {
  const std::string what = "identifier '" + id + "'", remedy = "give another one with --id";
  require(!id.empty(), what, "it is empty", remedy);
  require(std::all_of(id.begin(), id.end(), standsInIds), what,
          "it holds something else than ASCII letters, digits, dots, hyphens and underscores", remedy);
  require(id.front() != '.', what, "it begins with a dot", remedy);
  require(id.size() <= kLongest, what, "it is longer than 200 bytes", remedy);
  require(id != "None", what, "the menu has this for no workflow", remedy);
}

std::string idFrom(const std::string& stem) {
  std::string id = stem;
  std::replace_if(
      id.begin(), id.end(), [](char c) { return !standsInIds(c); }, '-');
  const std::size_t first = id.find_first_not_of(".-");
  return first == std::string::npos ? "workflow" : id.substr(first, kLongest);
}

void addWorkflow(const Addition& addition, const PluginFolder& plugin) {
  requireName(addition.as.name);
  requireId(addition.as.id);
  const std::string content = contentOf("workflow", addition.file, kLargest, "give the path of a workflow file");
  if (addition.check == Addition::Check::Asked) check(addition, plugin);
  const StateFile state(plugin);
  requireNew(state, addition);
  const std::string text = state.present().withAdded(addition.as);
  Copy copy(addition.file, content, state.manager().workflow(addition.as.id));
  state.replace(text, expectedOf(state, text, addition.as));
  copy.keep();
}

}  // namespace quillmere::app
