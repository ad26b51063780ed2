#include "desk.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <system_error>

#include "process/worker_process.h"
#include "request.h"

namespace quillmere::studio {
namespace {

constexpr int kLook = 50;  // milliseconds until a break is seen
constexpr int kDeepest = 16;
constexpr int kBroken = 130;

Json eventIn(const std::string& line) {
  try {
    return parsedJson(line, kDeepest);
  } catch (const Error&) {
    return {};
  }
}

// In place of the one that a process that was killed could not print.
Json endOf(int status) {
  const bool stopped = WIFSIGNALED(status) && WTERMSIG(status) == SIGINT;
  const int code = stopped ? kBroken : WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  Json error;
  if (!stopped && WIFSIGNALED(status)) error = "the render was killed by signal " + std::to_string(WTERMSIG(status));
  if (WIFEXITED(status) && code != 0) error = "the render could not begin; standard error of the program says why";
  return {{"event", "end"}, {"status", code}, {"error", error}, {"remedy", nullptr}};
}

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

Desk::Desk(EventHub& hub, std::function<void(const std::string&)> echo)
    : hub_(hub), echo_(std::move(echo)), thread_([this] { work(); }) {}

Desk::~Desk() {
  finish();
}

void Desk::render(std::vector<std::string> words) {
  const std::lock_guard lock(mutex_);
  if (ended_) throw Refused(409, "the program ends");
  if (!words_.empty()) throw Refused(409, "something is being rendered; break it off, or wait for its end");
  words_ = std::move(words);
  break_ = false;
  told_ = Json::object();
  changed_.notify_all();
}

void Desk::breakOff() {
  const std::lock_guard lock(mutex_);
  if (words_.empty()) throw Refused(409, "nothing is being rendered");
  break_ = true;
}

void Desk::finish() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = break_ = true;
    changed_.notify_all();
  }
  if (thread_.joinable()) thread_.join();
}

Json Desk::told() {
  const std::lock_guard lock(mutex_);
  Json told = told_;
  told["running"] = !words_.empty();
  return told;
}

Json Desk::job() {
  const std::lock_guard lock(mutex_);
  return job_;
}

void Desk::keep(const Json& job) {
  const std::lock_guard lock(mutex_);
  job_ = job;
}

void Desk::know(const Json& job) {
  const std::lock_guard lock(mutex_);
  for (const Json& file : {job.value("scene", Json()), job.value("options", Json::object()).value("style", Json())}) {
    if (file.is_string()) known_.insert(file.get<std::string>());
  }
}

bool Desk::knows(const std::string& file) {
  const std::lock_guard lock(mutex_);
  return known_.contains(file);
}

bool Desk::breakWanted() {
  const std::lock_guard lock(mutex_);
  return break_;
}

void Desk::pass(const std::string& line) {
  const Json event = eventIn(line);
  if (!event.is_object()) return;
  const std::string name = event.value("event", "");
  {
    const std::lock_guard lock(mutex_);
    if (name == "start" || name == "sequence" || name == "end") told_[name] = event;
  }
  hub_.tell("render", event);
  if (echo_) echo_(line);
}

// Ctrl-C in the terminal is this program's own, which passes it on once.
void Desk::run(const std::vector<std::string>& words) {
  app::WorkerProcess process(app::thisProgram(), words, app::WorkerProcess::Group::Own);
  process.finish();
  for (bool broken = false; process.answers() >= 0;) {
    if (!broken && breakWanted()) broken = ::kill(process.id(), SIGINT) == 0;
    pollfd wait{process.answers(), POLLIN, 0};
    if (::poll(&wait, 1, kLook) <= 0) continue;
    for (const std::string& line : process.take()) pass(line);
  }
  const int status = waitFor(process.id());
  if (!told().contains("end")) pass(endOf(status).dump());
}

void Desk::work() {
  for (;;) {
    std::vector<std::string> words;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return ended_ || !words_.empty(); });
      if (ended_) return;
      words = words_;
    }
    try {
      run(words);
    } catch (const std::system_error& error) {
      pass(Json{{"event", "end"}, {"status", 1}, {"error", error.what()}, {"remedy", nullptr}}.dump());
    }
    const std::lock_guard lock(mutex_);
    words_.clear();
  }
}

}  // namespace quillmere::studio
