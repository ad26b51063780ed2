#include "orders.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

namespace quillmere::app {
namespace {

constexpr int kPatience = 100;  // milliseconds until the thread sees that it is no longer wanted
constexpr std::chrono::milliseconds kLook{50};

// Standard input under another number, which children don't get; they get nothing in its place.
int takenStandardInput() {
  const int taken = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
  const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (nothing >= 0) {
    ::dup2(nothing, STDIN_FILENO);
    ::close(nothing);
  }
  return taken;
}

}  // namespace

Orders::Orders() : descriptor_(takenStandardInput()), thread_([this] { read(); }) {}

Orders::~Orders() {
  enough_ = true;
  thread_.join();
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::optional<std::string> Orders::next(const std::function<bool()>& stop) {
  std::unique_lock lock(mutex_);
  while (lines_.empty()) {
    if (ended_ || stop()) return {};
    changed_.wait_for(lock, kLook);
  }
  std::string line = std::move(lines_.front());
  lines_.pop_front();
  return line;
}

void Orders::read() {
  std::array<char, 4096> block;
  while (!enough_) {
    pollfd wait{descriptor_, POLLIN, 0};
    if (::poll(&wait, 1, kPatience) <= 0) continue;
    const ssize_t count = ::read(descriptor_, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    add(block.data(), static_cast<std::size_t>(count));
  }
  ended_ = true;
  changed_.notify_all();
}

void Orders::add(const char* text, std::size_t length) {
  begun_.append(text, length);
  const std::lock_guard lock(mutex_);
  for (std::size_t end = 0; (end = begun_.find('\n')) != std::string::npos; begun_.erase(0, end + 1)) {
    lines_.push_back(begun_.substr(0, end));
  }
  changed_.notify_all();
}

}  // namespace quillmere::app
