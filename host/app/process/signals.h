#pragma once

#include <signal.h>

namespace quillmere::app {

// Undoes what the program that started this one may have left behind: an ignored SIGCHLD, with which nobody can wait
// for a child, and a blocked SIGINT, SIGTERM, SIGHUP or SIGPIPE, which children would inherit. Before any thread
// starts.
void resetInheritedSignals();

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

}  // namespace quillmere::app
