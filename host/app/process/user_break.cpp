#include "user_break.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "process_tree.h"
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

// A handler in place of a disposition, which comes back with the guard's end. A signal that was ignored when
// `ifIgnored` says Keep stays ignored (nohup).
class Handled {
 public:
  enum class IfIgnored { Keep, Replace };

  Handled(int signal, void (*handler)(int), IfIgnored ifIgnored) : signal_(signal) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal_, nullptr, &former_);
    if (former_.sa_handler != SIG_IGN || ifIgnored == IfIgnored::Replace) ::sigaction(signal_, &action, nullptr);
  }
  ~Handled() { ::sigaction(signal_, &former_, nullptr); }
  Handled(const Handled&) = delete;
  Handled& operator=(const Handled&) = delete;

 private:
  int signal_;
  struct sigaction former_ = {};
};

struct Handlers {
  Handled interrupt{SIGINT, onSignal, Handled::IfIgnored::Replace};
  Handled terminate{SIGTERM, onSignal, Handled::IfIgnored::Replace};
  Handled hangUp{SIGHUP, onSignal, Handled::IfIgnored::Keep};
  Handled brokenPipe{SIGPIPE, onBrokenPipe, Handled::IfIgnored::Keep};
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
