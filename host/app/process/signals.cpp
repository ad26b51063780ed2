#include "signals.h"

#include <pthread.h>

#include <mutex>

namespace quillmere::app {
namespace {

// Those that a render waits or ends by.
sigset_t ofRenders() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaddset(&set, signal);
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

}  // namespace

void resetInheritedSignals() {
  ::signal(SIGCHLD, SIG_DFL);
  const sigset_t all = ofRenders();
  ::pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
}

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

}  // namespace quillmere::app
