#include "helper_check.h"

#include <nlohmann/json.hpp>

#include "process/child_run.h"

namespace quillmere::app {
namespace {

using State = Finding::State;
using nlohmann::json;

constexpr std::chrono::seconds kPatience{30};

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
  if (result.end == ChildResult::End::TimedOut) return "the helper did not answer within 30 s";
  std::string told = textAt(answer, "problem");
  if (!told.empty()) return told;
  const std::string said = lastLine(result.errors);
  return said.empty() ? "the helper ended without an answer" : said;
}

}  // namespace

Finding checkWorkflow(const PluginFolder& plugin, const std::string& name, const std::filesystem::path& file) {
  const std::string subject = "workflow " + name;
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    return {subject, State::Broken, "'" + file.string() + "' is missing",
            "export the workflow there, or choose another"};
  }
  const ChildResult result =
      runChild({"python3", plugin.helper().string(), "--check", file.string(), "--json"}, kPatience);
  const json answer = json::parse(result.output, nullptr, false);
  if (result.end == ChildResult::End::Exited && result.status == 0) {
    const std::string backEnd = textAt(answer, "backend");
    return {subject, State::Ok, backEnd.empty() ? "can be run" : "runs on " + backEnd, {}};
  }
  return {subject, State::Broken, reasonOf(result, answer), {}};
}

}  // namespace quillmere::app
