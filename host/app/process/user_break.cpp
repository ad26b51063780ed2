#include "user_break.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "process_tree.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

// Those that a render waits or ends by.
sigset_t ofRenders() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ}) sigaddset(&set, signal);
  return set;
}

thread_local sigset_t maskBeforeFork;

// Until the forked child has lost the handlers, which would tell this process of the child's signals.
void holdSignals() {
  const sigset_t all = ofRenders();
  ::pthread_sigmask(SIG_BLOCK, &all, &maskBeforeFork);
}

void releaseSignals() {
  ::pthread_sigmask(SIG_SETMASK, &maskBeforeFork, nullptr);
}

// Runs in the forked child, where only calls that a signal handler may make are safe.
void dropHandlers() {
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action = {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    if (action.sa_handler != SIG_DFL) ::signal(signal, SIG_DFL);
  }
  releaseSignals();
}

void guardForks() {
  static std::once_flag once;
  std::call_once(once, [] { ::pthread_atfork(holdSignals, releaseSignals, dropHandlers); });
}

// A handler in place of a disposition, which comes back when this dies. A process forked meanwhile has the default
// disposition from its first moment on, as if it had already started another program: what is sent to it ends it, and
// is never taken for a signal to this one.
class SignalHandler {
 public:
  enum class IfIgnored { Keep, Replace };  // a signal that was ignored when this was made (nohup) stays so, or doesn't

  SignalHandler(int signal, void (*handler)(int), IfIgnored ifIgnored);
  ~SignalHandler();
  SignalHandler(const SignalHandler&) = delete;
  SignalHandler& operator=(const SignalHandler&) = delete;

 private:
  int signal_;
  struct sigaction former_ = {};
};

SignalHandler::SignalHandler(int signal, void (*handler)(int), IfIgnored ifIgnored) : signal_(signal) {
  guardForks();
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal_, nullptr, &former_);
  if (former_.sa_handler != SIG_IGN || ifIgnored == IfIgnored::Replace) ::sigaction(signal_, &action, nullptr);
}

SignalHandler::~SignalHandler() {
  ::sigaction(signal_, &former_, nullptr);
}

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

// Where standard output's reader has gone or a file may grow no further, writing fails instead of ending the process in
// the middle. A handler, because children would inherit an ignored signal.
void onFailedWrite(int /*signal*/) {}

struct Handlers {
  SignalHandler interrupt{SIGINT, onSignal, SignalHandler::IfIgnored::Replace};
  SignalHandler terminate{SIGTERM, onSignal, SignalHandler::IfIgnored::Replace};
  SignalHandler hangUp{SIGHUP, onSignal, SignalHandler::IfIgnored::Keep};
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

std::thread started(std::function<void()> work) {
  try {
    return std::thread(std::move(work));
  } catch (const std::system_error& error) {
    throw std::system_error(error.code(), "cannot start a thread");
  }
}

}  // namespace

void settleSignals() {
  ::signal(SIGCHLD, SIG_DFL);
  const sigset_t all = ofRenders();
  ::pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
  static const SignalHandler brokenPipe(SIGPIPE, onFailedWrite, SignalHandler::IfIgnored::Keep);
  static const SignalHandler fileTooLarge(SIGXFSZ, onFailedWrite, SignalHandler::IfIgnored::Keep);
}

struct UserBreak::Parts {
  explicit Parts(std::function<void()> lastWords)
      : watcher(started([this, words = std::move(lastWords)] { watch(pipe.reading(), words); })) {
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
