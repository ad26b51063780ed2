#include "helper_output.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "report/output.h"

namespace quillmere::app {
namespace {

constexpr int kPatience = 100;  // milliseconds until the thread sees that it is no longer wanted
constexpr int kBlocks = 4;  // of a read: as much as a pipe holds, so that one that never ends lets others in between

std::atomic<int> printedTo{-1};

// Runs in the forked child, where only calls that a signal handler may make are safe.
void printThere() {
  const int pipe = printedTo;
  if (pipe < 0) return;
  ::dup2(pipe, STDOUT_FILENO);
  ::dup2(pipe, STDERR_FILENO);
}

void redirectForks() {
  static std::once_flag once;
  std::call_once(once, [] { ::pthread_atfork(nullptr, nullptr, printThere); });
}

}  // namespace

HelperOutput::HelperOutput() {
  if (::pipe(ends_.data()) != 0) return;
  for (const int end : ends_) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
  thread_ = std::thread([this] { listen(); });
  printedTo = ends_[1];
  redirectForks();
}

HelperOutput::~HelperOutput() {
  if (!thread_.joinable()) return;
  printedTo = -1;
  enough_ = true;
  ::close(ends_[1]);  // wakes the thread, unless somebody else prints there still
  thread_.join();
  ::close(ends_[0]);
}

void HelperOutput::listen() {
  while (!enough_) {
    pollfd wait{ends_[0], POLLIN, 0};
    if (::poll(&wait, 1, kPatience) <= 0) continue;
    const std::lock_guard lock(mutex_);
    if (!take()) return;
  }
  const std::lock_guard lock(mutex_);
  take();
}

// False once nobody can print there any more.
bool HelperOutput::take() {
  std::array<char, 16384> block;
  for (int count = 0; count < kBlocks; ++count) {
    const ssize_t length = ::read(ends_[0], block.data(), block.size());
    if (length == 0) return false;
    if (length < 0 && errno != EINTR) return true;
    if (length < 0) continue;
    Output(STDERR_FILENO).write({block.data(), static_cast<std::size_t>(length)});
    keep(block.data(), static_cast<std::size_t>(length));
  }
  return true;
}

void HelperOutput::keep(const char* text, std::size_t length) {
  const std::size_t room = kMostKept - std::min(seen_, kMostKept);
  kept_.append(text, std::min(length, room));
  if (length > room && room > 0) kept_ += "\n... (what it has printed after this is left out)\n";
  seen_ += length;
  fresh_ = true;
}

std::string HelperOutput::lines() {
  if (!fresh_) return {};
  const std::lock_guard lock(mutex_);
  fresh_ = false;
  const std::size_t end = kept_.rfind('\n');
  if (end == std::string::npos) return {};
  std::string whole = kept_.substr(0, end + 1);
  kept_.erase(0, end + 1);
  return whole;
}

std::string HelperOutput::rest() {
  const std::lock_guard lock(mutex_);
  if (thread_.joinable()) take();
  fresh_ = false;
  seen_ = 0;
  return std::exchange(kept_, {});
}

}  // namespace quillmere::app
