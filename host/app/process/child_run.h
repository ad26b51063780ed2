#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace quillmere::app {

struct ChildResult {
  enum class End { Exited, Killed, TimedOut, NotStarted } end = End::NotStarted;
  int status = -1;     // when Exited
  std::string output;  // standard output, at most 1 MiB of it
  std::string errors;  // standard error, likewise; the reason when NotStarted
};

// Runs the program `command[0]`, looked up on PATH, with empty standard input, and waits for it. After `patience`, and
// soon after `stop` (may be empty) says true, it is killed with everything else that runs below this process.
ChildResult runChild(const std::vector<std::string>& command, std::chrono::milliseconds patience,
                     const std::function<bool()>& stop = {});

}  // namespace quillmere::app
