#include "process_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <memory>
#include <new>
#include <string>
#include <thread>

#ifdef __linux__
#include <sys/prctl.h>
#elif defined(__APPLE__)
#include <libproc.h>
#endif

namespace quillmere::app {
namespace {

constexpr std::chrono::milliseconds kPause{5};
constexpr int kKillRounds = 400;  // of one pause each; what survives SIGKILL that long hangs in the kernel

#ifdef __APPLE__

std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children(1024);
  const int count = proc_listchildpids(parent, children.data(), static_cast<int>(children.size() * sizeof(pid_t)));
  children.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return children;
}

#else

struct Process {
  pid_t id = 0, parent = 0;
  bool zombie = false;
};

// The beginning of the process's /proc/<id>/stat, as much as is asked of it; empty once the process is gone. Not with a
// stream: an iterator over one throws when the process ends between the opening and the reading.
std::string statOf(const std::string& id) {
  const int file = ::open(("/proc/" + id + "/stat").c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return {};
  std::array<char, 512> stat;
  const ssize_t length = ::read(file, stat.data(), stat.size());
  ::close(file);
  return {stat.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

// The text is "id (name) state parent …"; the name may hold blanks and parentheses itself.
Process processNamed(const std::string& id) {
  const std::string stat = statOf(id);
  const std::size_t name = stat.rfind(')');
  if (name == std::string::npos || name + 4 >= stat.size()) return {};
  Process process;
  process.zombie = stat[name + 2] == 'Z' || stat[name + 2] == 'X';
  std::from_chars(id.data(), id.data() + id.size(), process.id);
  std::from_chars(stat.data() + name + 4, stat.data() + stat.size(), process.parent);
  return process;
}

std::vector<pid_t> childrenOf(pid_t parent) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir("/proc"), &::closedir);
  std::vector<pid_t> children;
  while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
    if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
    const Process process = processNamed(entry->d_name);
    if (process.id > 0 && process.parent == parent && !process.zombie) children.push_back(process.id);
  }
  return children;
}

#endif

enum class Children { None, Some };

// Reaps those that have ended.
Children reap() {
  while (true) {
    const pid_t ended = ::waitpid(-1, nullptr, WNOHANG);
    if (ended == 0) return Children::Some;
    if (ended < 0 && errno != EINTR) return Children::None;
  }
}

}  // namespace

void adoptOrphans() {
#ifdef __linux__
  ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
#endif
}

std::vector<pid_t> descendants(pid_t root) {
  std::vector<pid_t> found = childrenOf(root);
  for (std::size_t at = 0; at < found.size(); ++at) {
    const std::vector<pid_t> below = childrenOf(found[at]);
    found.insert(found.end(), below.begin(), below.end());
  }
  return found;
}

namespace {

void killAll() {
  for (int round = 0; round < kKillRounds; ++round) {
    const std::vector<pid_t> left = descendants(::getpid());
    if (left.empty()) return;
    // Stopped first, none of them can start another process while the rest is being killed.
    for (const pid_t process : left) ::kill(process, SIGSTOP);
    for (const pid_t process : left) ::kill(process, SIGKILL);
    std::this_thread::sleep_for(kPause);
  }
}

void tellAll(int signal) {
  for (const pid_t process : descendants(::getpid())) ::kill(process, signal);
}

// Without memory the processes below can't be listed; it may come back while one waits.
template <class Act>
void withMemory(const Act& act) noexcept {
  for (int round = 0; round < kKillRounds; ++round) {
    try {
      return act();
    } catch (const std::bad_alloc&) {
      std::this_thread::sleep_for(kPause);
    }
  }
}

}  // namespace

void killDescendants() noexcept {
  withMemory(killAll);
}

void killStrays(const std::vector<pid_t>& kept) {
  for (const pid_t child : childrenOf(::getpid())) {
    if (std::find(kept.begin(), kept.end(), child) != kept.end()) continue;
    for (const pid_t below : descendants(child)) ::kill(below, SIGKILL);
    ::kill(child, SIGKILL);
  }
}

void reapEnded() {
  reap();
}

void endDescendants(std::chrono::milliseconds grace) noexcept {
  if (reap() == Children::None) return;
  withMemory([] { tellAll(SIGTERM); });
  const auto patience = std::chrono::steady_clock::now() + grace;
  while (reap() == Children::Some && std::chrono::steady_clock::now() < patience) std::this_thread::sleep_for(kPause);
  killDescendants();
  reap();
}

}  // namespace quillmere::app
