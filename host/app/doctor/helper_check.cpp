#include "helper_check.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "process/child_run.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;
using nlohmann::json;

constexpr std::chrono::seconds kServersPatience{15};  // the helper gives each kind of server 3 s for an answer

std::string textAt(const json& answer, const char* key) {
  const auto found = answer.is_object() ? answer.find(key) : answer.end();
  return answer.is_object() && found != answer.end() && found->is_string() ? found->get<std::string>() : "";
}

// The last line that isn't blank: a failing interpreter ends its report with the reason.
std::string lastLine(const std::string& text) {
  const std::size_t end = text.find_last_not_of("\n ");
  if (end == std::string::npos) return {};
  const std::size_t begin = text.rfind('\n', end);
  return text.substr(begin == std::string::npos ? 0 : begin + 1,
                     end - (begin == std::string::npos ? 0 : begin + 1) + 1);
}

std::string reasonOf(const ChildResult& result, const json& answer) {
  if (result.end == ChildResult::End::TimedOut) return "the helper did not answer in time";
  std::string told = textAt(answer, "problem");
  if (!told.empty()) return told;
  const std::string said = lastLine(result.errors);
  return said.empty() ? "the helper ended without an answer" : said;
}

// The helper's problems end in what to do about them.
Finding problem(const std::string& subject, State state, const std::string& told) {
  const std::size_t cut = told.rfind("; ");
  if (cut == std::string::npos) return {subject, state, told, {}};
  return {subject, state, told.substr(0, cut), told.substr(cut + 2)};
}

Finding serverFinding(const json& answer) {
  const std::string subject = "server " + textAt(answer, "kind"), url = textAt(answer, "url");
  const auto ok = answer.find("ok");
  if (ok != answer.end() && *ok == true) {
    const std::string version = textAt(answer, "version");
    return {subject, State::Ok, url + (version.empty() ? " answers" : " answers: " + version), {}};
  }
  return problem(subject, State::Note, textAt(answer, "problem"));
}

// Why the file need not be shown to the helper.
std::optional<Finding> unreadable(const std::string& subject, const fs::path& file) {
  if (const auto obstacle = obstacleAt("workflow", file)) return broken(subject, *obstacle);
  std::error_code error;
  if (fs::exists(file, error)) return {};
  return Finding{subject, State::Broken, "'" + file.string() + "' is missing",
                 "export the workflow there, or choose another"};
}

std::string whereItRuns(const json& answer) {
  const std::string backEnd = textAt(answer, "backend");
  const std::string server = textAt(answer, "server"), version = textAt(answer, "version");
  std::string where = backEnd.empty() ? "can be run" : "runs on " + backEnd;
  if (!server.empty()) where += " at " + server;
  if (!version.empty()) where += ", version " + version;
  return where;
}

}  // namespace

std::vector<Finding> checkServers(const PluginFolder& plugin) {
  const ChildResult result = runChild({"python3", plugin.helper().string(), "--servers", "--json"}, kServersPatience);
  std::vector<Finding> findings;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    const json answer = json::parse(line, nullptr, false);
    if (!textAt(answer, "kind").empty()) findings.push_back(serverFinding(answer));
  }
  if (findings.empty()) findings.push_back({"servers", State::Note, reasonOf(result, {}), {}});
  return findings;
}

WorkflowCheck checkWorkflow(const PluginFolder& plugin, const std::string& name, const fs::path& file,
                            std::chrono::milliseconds patience) {
  const std::string subject = "workflow " + name;
  if (auto finding = unreadable(subject, file)) return {false, false, *finding};
  const std::vector<std::string> check{"python3", plugin.helper().string(), "--check", file.string(), "--json"};
  if (patience <= std::chrono::milliseconds(0)) {
    return {false,
            false,
            {subject, State::Note, "not checked: the checks before took too long",
             "run: " + check[0] + " '" + check[1] + "' --check '" + check[3] + "'"}};
  }
  const ChildResult result = runChild(check, patience);
  const json answer = json::parse(result.output, nullptr, false);
  const bool answered = answer.is_object() && answer.contains("ok"), known = !textAt(answer, "backend").empty();
  if (result.end == ChildResult::End::Exited && result.status == 0) {
    return {answered, known, {subject, State::Ok, whereItRuns(answer), {}}};
  }
  return {answered, known, problem(subject, State::Broken, reasonOf(result, answer))};
}

}  // namespace quillmere::app
