#include "own_command.h"

#include <algorithm>
#include <atomic>

#include "process/child_run.h"
#include "process/worker_process.h"
#include "request.h"

namespace quillmere::studio {
namespace {

constexpr int kDeepest = 32;
constexpr std::size_t kMostOutput = std::size_t{256} << 20U;  // a catalog of 100,000 workflows is 60 MB

std::atomic<bool> ended = false;

void addOptions(std::vector<std::string>& words, const std::vector<std::string>& options) {
  words.insert(std::find(words.begin(), words.end(), "--"), options.begin(), options.end());
}

// What was said, in one line, without the program's name.
std::string complaintOf(const app::ChildResult& result, const std::string& command) {
  if (result.end == app::ChildResult::End::TimedOut) return command + " took too long, and was stopped";
  std::string text = result.errors;
  constexpr std::string_view kName = "quillmere: ";
  if (text.starts_with(kName)) text.erase(0, kName.size());
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text.empty() ? command + " failed without a word" : text;
}

}  // namespace

std::vector<std::string> withSession(std::vector<std::string> words, const app::SessionOptions& session) {
  addOptions(words, {"--write-dir", app::writeDirectoryOf(session).string()});
  return withPlugin(std::move(words), session);
}

std::vector<std::string> withPlugin(std::vector<std::string> words, const app::SessionOptions& session) {
  if (!session.plugin.empty()) addOptions(words, {"--plugin", session.plugin});
  return words;
}

Json answerOfCommand(std::vector<std::string> words, std::chrono::milliseconds patience) {
  words.insert(words.begin(), app::thisProgram().string());
  addOptions(words, {"--json"});
  const app::ChildResult result =
      app::runChild(words, {.patience = patience, .mostOutput = kMostOutput, .kill = app::ChildLimits::Kill::Itself},
                    [] { return ended.load(); });
  if (ended) throw Refused(503, "the program ends");
  try {
    if (result.end == app::ChildResult::End::Exited) return parsedJson(result.output, kDeepest);
  } catch (const Error&) {
    // what it printed is no answer
  }
  throw Refused(422, complaintOf(result, words[1]));
}

void endCommands() {
  ended = true;
}

}  // namespace quillmere::studio
