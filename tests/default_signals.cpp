#include <signal.h>

#include <initializer_list>

// Before anything else of a test program: who started it may ignore or block signals (nohup, a shell's background, a
// daemon), which it and its children would inherit. The tests are about the signals that they send.
namespace {

const bool signalsActAsUsual = [] {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) ::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  return sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
}();

}  // namespace
