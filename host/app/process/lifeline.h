#pragma once

#include <array>

namespace quillmere::app {

// Lets the processes that are started while this lives notice the end of this one, however it comes: the reading end of
// a pipe, which they inherit under the number and the inode that the environment variable QUILLMERE_HOST_PIPE gives
// ("7:81234"). Only this process holds the writing end, so reading finds the end of the file once it is gone. A shell
// in between passes the pipe on; where one doesn't, the inode tells. Without a free descriptor there is no variable.
// Only while no other thread reads the environment.
class Lifeline {
 public:
  Lifeline();
  ~Lifeline();
  Lifeline(const Lifeline&) = delete;
  Lifeline& operator=(const Lifeline&) = delete;

 private:
  std::array<int, 2> ends_{-1, -1};
};

}  // namespace quillmere::app
