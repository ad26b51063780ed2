#include "user_break.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "process_tree.h"
#include "signals.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

// What the handler may touch.
std::atomic<bool> broken{false};
std::atomic<int> wakeUp{-1};  // the writing end of the pipe to the watcher
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

constexpr char kSignalled = 's', kEnough = 'e';

void onSignal(int /*signal*/) {
  const int error = errno;
  broken = true;
  [[maybe_unused]] const ssize_t written = ::write(wakeUp, &kSignalled, 1);
  errno = error;
}

// Where standard output's reader has gone, writing fails instead of ending the process before its children. A handler,
// because children would inherit an ignored signal.
void onBrokenPipe(int /*signal*/) {}

struct Handlers {
  SignalHandler interrupt{SIGINT, onSignal, SignalHandler::IfIgnored::Replace};
  SignalHandler terminate{SIGTERM, onSignal, SignalHandler::IfIgnored::Replace};
  SignalHandler hangUp{SIGHUP, onSignal, SignalHandler::IfIgnored::Keep};
  SignalHandler brokenPipe{SIGPIPE, onBrokenPipe, SignalHandler::IfIgnored::Keep};
};

class Pipe {
 public:
  Pipe() {
    if (::pipe(ends_.data()) != 0) throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
    for (const int end : ends_) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(ends_[1], F_SETFL, O_NONBLOCK);
  }
  ~Pipe() {
    for (const int end : ends_) ::close(end);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int reading() const { return ends_[0]; }
  int writing() const { return ends_[1]; }

 private:
  std::array<int, 2> ends_{-1, -1};
};

void watch(int pipe, const std::function<void()>& lastWords) {
  int signals = 0;
  char told = 0;
  while (signals < 2) {
    const ssize_t count = ::read(pipe, &told, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count != 1 || told == kEnough) return;
    ++signals;
  }
  killDescendants();
  lastWords();
  ::_exit(static_cast<int>(ExitStatus::Broken));
}

}  // namespace

struct UserBreak::Parts {
  explicit Parts(std::function<void()> lastWords)
      : watcher([this, words = std::move(lastWords)] { watch(pipe.reading(), words); }) {
    broken = false;
    wakeUp = pipe.writing();
    handlers.emplace();
  }
  ~Parts() {
    handlers.reset();
    wakeUp = -1;
    while (::write(pipe.writing(), &kEnough, 1) < 0 && (errno == EINTR || errno == EAGAIN)) std::this_thread::yield();
    watcher.join();
  }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  Pipe pipe;
  std::thread watcher;
  std::optional<Handlers> handlers;
};

UserBreak::UserBreak(std::function<void()> lastWords) : parts_(std::make_unique<Parts>(std::move(lastWords))) {}

UserBreak::~UserBreak() = default;

bool UserBreak::seen() const {
  return broken;
}

}  // namespace quillmere::app
