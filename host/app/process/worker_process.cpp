#include "worker_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include "spawn_files.h"

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

extern char** environ;

namespace quillmere::app {
namespace {

// Both ends are closed in every process that is started, but for where they are put there.
std::array<int, 2> closedPipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "cannot talk to a process");
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return ends;
}

void shut(int& descriptor) {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

pid_t started(const std::filesystem::path& program, const std::vector<std::string>& arguments,
              WorkerProcess::Group group, int input, int output) {
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  closeOthers(actions);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  if (group == WorkerProcess::Group::Own) posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  pid_t child = -1;
  const int error = ::posix_spawn(&child, program.c_str(), &actions, &attributes, words.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), "cannot start another process to render");
  return child;
}

}  // namespace

std::filesystem::path thisProgram() {
  std::error_code error;
#ifdef __APPLE__
  std::string name(4096, '\0');
  std::uint32_t size = static_cast<std::uint32_t>(name.size());
  if (_NSGetExecutablePath(name.data(), &size) != 0) return {};
  return std::filesystem::canonical(name.c_str(), error);
#else
  return std::filesystem::read_symlink("/proc/self/exe", error);
#endif
}

WorkerProcess::WorkerProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                             Group group) {
  std::array<int, 2> input = closedPipe(), output{-1, -1};
  try {
    output = closedPipe();
    id_ = started(program, arguments, group, input[0], output[1]);
  } catch (const std::system_error&) {
    for (int* end : {&input[0], &input[1], &output[0], &output[1]}) shut(*end);
    throw;
  }
  ::close(input[0]);
  ::close(output[1]);
  orders_ = input[1];
  answers_ = output[0];
  ::fcntl(answers_, F_SETFL, O_NONBLOCK);
}

WorkerProcess::WorkerProcess(WorkerProcess&& other) noexcept
    : id_(std::exchange(other.id_, -1)),
      orders_(std::exchange(other.orders_, -1)),
      answers_(std::exchange(other.answers_, -1)),
      begun_(std::move(other.begun_)) {}

WorkerProcess::~WorkerProcess() {
  shut(orders_);
  shut(answers_);
}

bool WorkerProcess::tell(std::string_view line) {
  while (orders_ >= 0 && !line.empty()) {
    const ssize_t written = ::write(orders_, line.data(), line.size());
    if (written >= 0) {
      line.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return orders_ >= 0;
}

void WorkerProcess::finish() {
  shut(orders_);
}

std::vector<std::string> WorkerProcess::take() {
  std::array<char, 16384> block;
  ssize_t count = 0;
  while (answers_ >= 0 && (count = ::read(answers_, block.data(), block.size())) > 0) {
    begun_.append(block.data(), static_cast<std::size_t>(count));
  }
  const bool more = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
  if (!more) shut(answers_);
  std::vector<std::string> lines;
  std::size_t from = 0;
  for (std::size_t end = 0; (end = begun_.find('\n', from)) != std::string::npos; from = end + 1) {
    lines.push_back(begun_.substr(from, end - from));
  }
  begun_.erase(0, from);
  return lines;
}

}  // namespace quillmere::app
