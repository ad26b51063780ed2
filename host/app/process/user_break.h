#pragma once

#include <functional>
#include <memory>

namespace quillmere::app {

// Undoes what the program that started this one may have left behind: an ignored SIGCHLD, with which nobody can wait
// for a child, and a blocked SIGINT, SIGTERM, SIGHUP, SIGPIPE or SIGXFSZ, which children would inherit. From then on
// writing into a closed pipe or beyond the largest size of a file is an error instead of the end of the process;
// children have the default dispositions from the moment in which they are forked. Before any thread starts.
void settleSignals();

// While this lives, SIGINT, SIGTERM and SIGHUP are the user's break instead of the end of the process. One may exist at
// a time. Children have the default dispositions, as above.
class UserBreak {
 public:
  // The second signal ends the process at once with status 130, after everything below it was killed and then
  // `lastWords` was called, on a thread of its own.
  explicit UserBreak(std::function<void()> lastWords);
  ~UserBreak();
  UserBreak(const UserBreak&) = delete;
  UserBreak& operator=(const UserBreak&) = delete;

  // True from the first signal on. Any thread; never blocks.
  bool seen() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillmere::app
