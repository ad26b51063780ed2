#include "own_command.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <semaphore>

#include "process/child_run.h"
#include "process/worker_process.h"
#include "request.h"

namespace quillmere::studio {
namespace {

constexpr int kDeepest = 32;
constexpr std::size_t kMostOutput = std::size_t{256} << 20U;  // a catalog of 100,000 workflows is 60 MB
constexpr int kMostCommands = 4;
constexpr std::chrono::seconds kMoment{20};

std::atomic<bool> ended = false;

void addOptions(std::vector<std::string>& words, const std::vector<std::string>& options) {
  words.insert(std::find(words.begin(), words.end(), "--"), options.begin(), options.end());
}

// A place among those that run at a time, while this lives.
class Place {
 public:
  Place() {
    if (!places_.try_acquire_for(kMoment)) throw Refused(503, "too much is asked for at a time; ask again");
  }
  ~Place() { places_.release(); }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

 private:
  static inline std::counting_semaphore<kMostCommands> places_{kMostCommands};
};

// What was said last, without the program's name and the warnings before it.
std::string complaintOf(const app::ChildResult& result, const std::string& command) {
  if (result.end == app::ChildResult::End::TimedOut) return command + " took too long, and was stopped";
  std::string text = result.errors;
  constexpr std::string_view kName = "quillmere: ";
  if (const auto last = text.rfind("\n" + std::string(kName)); last != std::string::npos) text.erase(0, last + 1);
  if (text.starts_with(kName)) text.erase(0, kName.size());
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text.empty() ? command + " failed without a word" : text;
}

app::ChildResult resultOf(std::vector<std::string>& words, std::chrono::milliseconds patience,
                          const std::function<bool()>& stop) {
  const Place place;
  words.insert(words.begin(), app::thisProgram().string());
  app::ChildResult result =
      app::runChild(words, {.patience = patience, .mostOutput = kMostOutput, .kill = app::ChildLimits::Kill::Itself},
                    [&stop] { return ended || (stop && stop()); });
  if (ended) throw Refused(503, "the program ends");
  return result;
}

}  // namespace

std::vector<std::string> withSession(std::vector<std::string> words, const app::SessionOptions& session) {
  addOptions(words, {"--write-dir", app::writeDirectoryOf(session).string()});
  return withPlugin(std::move(words), session);
}

std::vector<std::string> withPlugin(std::vector<std::string> words, const app::SessionOptions& session) {
  if (session.plugin.empty()) return words;
  addOptions(words, {"--plugin", std::filesystem::absolute(session.plugin).lexically_normal().string()});
  return words;
}

Json answerOfCommand(std::vector<std::string> words, std::chrono::milliseconds patience) {
  addOptions(words, {"--json"});
  const app::ChildResult result = resultOf(words, patience, {});
  try {
    if (result.end == app::ChildResult::End::Exited) return parsedJson(result.output, kDeepest);
  } catch (const Error&) {
    // what it printed is no answer
  }
  throw Refused(422, complaintOf(result, words[1]));
}

void runCommand(std::vector<std::string> words, const std::function<bool()>& stop, std::chrono::milliseconds patience) {
  const app::ChildResult result = resultOf(words, patience, stop);
  if (result.end == app::ChildResult::End::Exited && result.status == 0) return;
  if (stop && stop()) throw Refused(409, "something newer was asked for");
  throw Refused(422, complaintOf(result, words[1]));
}

void endCommands() {
  ended = true;
}

}  // namespace quillmere::studio
