#include "child_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <thread>

#include "process_tree.h"
#include "spawn_files.h"

extern char** environ;

namespace quillmere::app {
namespace {

using Clock = std::chrono::steady_clock;

// What a child writes, as it comes.
class Captured {
 public:
  explicit Captured(std::size_t most) : most_(most) {
    if (::pipe(ends_.data()) != 0) ends_ = {-1, -1};
    for (const int end : ends_) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  ~Captured() {
    closeWriting();
    if (ends_[0] >= 0) ::close(ends_[0]);
  }
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;

  int reading() const { return open_ ? ends_[0] : -1; }
  int writing() const { return ends_[1]; }
  void closeWriting() {
    if (ends_[1] >= 0) ::close(ends_[1]);
    ends_[1] = -1;
  }
  void take() {
    std::array<char, 4096> block;
    const ssize_t count = ::read(ends_[0], block.data(), block.size());
    if (count == 0 || (count < 0 && errno != EINTR)) open_ = false;
    if (count > 0) text.append(block.data(), std::min(static_cast<std::size_t>(count), most_ - text.size()));
  }

  std::string text;

 private:
  std::size_t most_;
  std::array<int, 2> ends_{-1, -1};
  bool open_ = true;
};

constexpr int kKillRounds = 400;                // of a pause each; what survives SIGKILL that long hangs in the kernel
constexpr std::chrono::milliseconds kLook{50};  // how often a break is looked for

// At most kLook.
int millisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
  return static_cast<int>(std::clamp<decltype(left.count())>(left.count(), 0, kLook.count()));
}

enum class Reading { Ended, TimedOut };

Reading readBoth(Captured& output, Captured& errors, Clock::time_point end, const std::function<bool()>& stop) {
  while (output.reading() >= 0 || errors.reading() >= 0) {
    if (Clock::now() >= end || (stop && stop())) return Reading::TimedOut;
    std::array<pollfd, 2> waits{pollfd{output.reading(), POLLIN, 0}, pollfd{errors.reading(), POLLIN, 0}};
    const int ready = ::poll(waits.data(), waits.size(), millisecondsUntil(end));
    if (ready > 0 && waits[0].revents != 0) output.take();
    if (ready > 0 && waits[1].revents != 0) errors.take();
  }
  return Reading::Ended;
}

// The status of a child that ends until then; none when it goes on.
std::optional<int> statusUntil(pid_t child, Clock::time_point end) {
  int status = 0;
  while (true) {
    const pid_t ended = ::waitpid(child, &status, WNOHANG);
    if (ended == child) return status;
    if ((ended < 0 && errno != EINTR) || Clock::now() >= end) return {};
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

pid_t start(const std::vector<std::string>& command, ChildLimits::Kill kill, const Captured& output,
            const Captured& errors, int& error) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output.writing(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors.writing(), STDERR_FILENO);
  if (kill == ChildLimits::Kill::Itself) closeOthers(actions);
  pid_t child = -1;
  error = ::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? child : -1;
}

// What has been started meanwhile is found as long as something above it lives, so the child goes last.
void killTree(pid_t child) {
  for (int round = 0; round < kKillRounds; ++round) {
    const std::vector<pid_t> below = descendants(child);
    if (below.empty()) break;
    for (const pid_t process : below) ::kill(process, SIGKILL);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  ::kill(child, SIGKILL);
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

ChildResult runChild(const std::vector<std::string>& command, const ChildLimits& limits,
                     const std::function<bool()>& stop) {
  Captured output(limits.mostOutput), errors(limits.mostOutput);
  int error = 0;
  const pid_t child = start(command, limits.kill, output, errors, error);
  if (child < 0) return {ChildResult::End::NotStarted, -1, {}, std::strerror(error)};
  output.closeWriting();
  errors.closeWriting();
  const Clock::time_point end = Clock::now() + limits.patience;
  const bool silent = readBoth(output, errors, end, stop) == Reading::Ended;
  const std::optional<int> status = silent ? statusUntil(child, end) : std::nullopt;
  ChildResult result{ChildResult::End::Killed, -1, std::move(output.text), std::move(errors.text)};
  if (!status) {
    limits.kill == ChildLimits::Kill::Everything ? endDescendants(std::chrono::milliseconds(0)) : killTree(child);
    result.end = ChildResult::End::TimedOut;
  } else if (WIFEXITED(*status)) {
    result.end = ChildResult::End::Exited;
    result.status = WEXITSTATUS(*status);
  }
  return result;
}

}  // namespace quillmere::app
