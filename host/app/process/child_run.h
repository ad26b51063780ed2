#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace quillmere::app {

struct ChildLimits {
  std::chrono::milliseconds patience{};
  std::size_t mostOutput = std::size_t{1} << 20U;  // bytes of each stream that are kept
  // What is killed when time is up: all that runs below this process, what the child has left behind too; or, where
  // others run beside it, the child and what still runs below it; such a child gets no open file but its streams.
  enum class Kill { Everything, Itself } kill = Kill::Everything;
};

struct ChildResult {
  enum class End { Exited, Killed, TimedOut, NotStarted } end = End::NotStarted;
  int status = -1;     // when Exited
  std::string output;  // standard output, as much as is kept
  std::string errors;  // standard error, likewise; the reason when NotStarted
};

// Runs the program `command[0]`, looked up on PATH, with empty standard input, and waits for it. When its
// patience is over, and soon after `stop` (may be empty) says true, it is killed.
ChildResult runChild(const std::vector<std::string>& command, const ChildLimits& limits,
                     const std::function<bool()>& stop = {});

}  // namespace quillmere::app
