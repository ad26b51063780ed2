#include "helper_check.h"

#include <optional>
#include <sstream>

#include "process/child_run.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;

constexpr std::chrono::seconds kServersPatience{15};  // the helper gives each kind of server 3 s for an answer
constexpr int kDeepest = 20;

// An empty object for what is none.
Json answerIn(const std::string& text) {
  try {
    Json answer = parsedJson(text, kDeepest);
    return answer.is_object() ? answer : Json::object();
  } catch (const Error&) {
    return Json::object();
  }
}

bool isTrue(const Json& answer, const char* key) {
  return answer.value(key, Json()) == Json(true);
}

// The last line that isn't blank: a failing interpreter ends its report with the reason.
std::string lastLine(const std::string& text) {
  const std::size_t end = text.find_last_not_of("\n ");
  if (end == std::string::npos) return {};
  const std::size_t begin = text.rfind('\n', end);
  return text.substr(begin == std::string::npos ? 0 : begin + 1,
                     end - (begin == std::string::npos ? 0 : begin + 1) + 1);
}

std::string reasonOf(const ChildResult& result, const Json& answer) {
  if (result.end == ChildResult::End::TimedOut) return "the helper did not answer in time";
  std::string told = textAt(answer, "problem");
  if (!told.empty()) return told;
  const std::string said = lastLine(result.errors);
  return said.empty() ? "the helper ended without an answer" : said;
}

Finding serverFinding(const Json& answer) {
  const std::string subject = std::string(kServer) + textAt(answer, "kind"), url = textAt(answer, "url");
  if (isTrue(answer, "ok")) {
    const std::string version = textAt(answer, "version");
    return {subject, State::Ok, url + (version.empty() ? " answers" : " answers: " + version), {}};
  }
  return {subject, State::Note, textAt(answer, "problem"), textAt(answer, "remedy")};
}

// Why the file need not be shown to the helper.
std::optional<Finding> unreadable(const std::string& subject, const fs::path& file) {
  if (const auto obstacle = obstacleAt("workflow", file)) return broken(subject, *obstacle);
  std::error_code error;
  if (fs::exists(file, error)) return {};
  return Finding{subject, State::Broken, "'" + file.string() + "' is missing",
                 "export the workflow there, or choose another"};
}

std::string whereItRuns(const Json& answer) {
  const std::string backEnd = textAt(answer, "backend");
  const std::string server = textAt(answer, "server"), version = textAt(answer, "version");
  std::string where = backEnd.empty() ? "can be run" : "runs on " + backEnd;
  if (!server.empty()) where += " at " + server;
  if (!version.empty()) where += ", version " + version;
  return where;
}

WorkflowCheck unanswered(const fs::path& file, const Finding& finding) {
  Json answer{{"workflow", file.string()}, {"ok", false}, {"backend", ""}};
  answer.update(Json{{"problem", finding.detail}, {"remedy", finding.remedy}});
  return {true, false, false, finding, std::move(answer)};
}

// What the helper answers to `option`. A helper of another make takes its first argument for a request and the second
// one for the response to be written: in this order that can't be the workflow, or any file.
WorkflowCheck ask(const PluginFolder& plugin, const std::string& option, const std::string& subject,
                  const fs::path& file, std::chrono::milliseconds patience, const std::function<bool()>& stop = {}) {
  if (const auto finding = unreadable(subject, file)) {
    WorkflowCheck check = unanswered(file, *finding);
    check.readable = false;
    return check;
  }
  const std::string question = option + "=" + (file.has_parent_path() ? file : "." / file).string();
  const std::vector<std::string> command{"python3", plugin.helper().string(), "--json", question};
  if (patience <= std::chrono::milliseconds(0)) {
    return unanswered(file, {subject, State::Note, "not checked: the checks before took too long",
                             "run: quillmere workflows check '" + file.string() + "'"});
  }
  const ChildResult result = runChild(command, {patience}, stop);
  const Json answer = answerIn(result.output);
  const bool ended = result.end == ChildResult::End::Exited && result.status == 0;
  if (!answer.contains("ok")) {  // a helper of another make may know nothing of such questions
    return unanswered(file, {subject, ended ? State::Note : State::Broken, reasonOf(result, answer), {}});
  }
  const Finding finding = ended ? Finding{subject, State::Ok, whereItRuns(answer), {}}
                                : Finding{subject, State::Broken, reasonOf(result, answer), textAt(answer, "remedy")};
  return {true, true, !textAt(answer, "backend").empty(), finding, answer};
}

}  // namespace

std::string textAt(const Json& object, const char* key) {
  const auto found = object.is_object() ? object.find(key) : object.end();
  return object.is_object() && found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

std::int64_t countAt(const Json& object, const char* key) {
  const auto found = object.is_object() ? object.find(key) : object.end();
  return object.is_object() && found != object.end() && found->is_number_unsigned() ? found->get<std::int64_t>() : 0;
}

std::vector<Json> objectsAt(const Json& object, const char* key) {
  std::vector<Json> objects;
  const auto found = object.is_object() ? object.find(key) : object.end();
  if (!object.is_object() || found == object.end() || !found->is_array()) return objects;
  for (const Json& member : *found) {
    if (member.is_object()) objects.push_back(member);
  }
  return objects;
}

std::vector<Finding> checkServers(const PluginFolder& plugin) {
  const ChildResult result = runChild({"python3", plugin.helper().string(), "--servers", "--json"}, {kServersPatience});
  std::vector<Finding> findings;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    const Json answer = answerIn(line);
    if (!textAt(answer, "kind").empty()) findings.push_back(serverFinding(answer));
  }
  if (findings.empty()) findings.push_back({"servers", State::Note, reasonOf(result, {}), {}});
  return findings;
}

WorkflowCheck checkWorkflow(const PluginFolder& plugin, const std::string& name, const fs::path& file,
                            std::chrono::milliseconds patience, const std::function<bool()>& stop) {
  return ask(plugin, "--check", "workflow " + name, file, patience, stop);
}

WorkflowCheck askForControls(const PluginFolder& plugin, const std::string& name, const fs::path& file,
                             std::chrono::milliseconds patience) {
  return ask(plugin, "--controls", "workflow " + name, file, patience);
}

}  // namespace quillmere::app
