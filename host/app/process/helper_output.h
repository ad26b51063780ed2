#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace quillmere::app {

// What processes print that are forked while this lives, on standard output and standard error alike: it goes to this
// process' standard error as it comes, and can be read here too. The effect forks its helper by itself, so a pipe takes
// the place of both in every fork; what this program spawns elsewhere isn't concerned. Where no pipe can be made,
// nothing can be read here, and they print as if this weren't there. One at a time; it has a thread of its own.
class HelperOutput {
 public:
  static constexpr std::size_t kMostKept = std::size_t{256} << 10U;  // bytes of a frame

  HelperOutput();
  // What still holds the pipe then prints for nobody.
  ~HelperOutput();
  HelperOutput(const HelperOutput&) = delete;
  HelperOutput& operator=(const HelperOutput&) = delete;

  // The lines that have come since the last time. Quick where there are none.
  std::string lines();
  // The same, with all that a process that has ended has printed, and a line that was not ended: the frame ends, and
  // what comes next is of another one.
  std::string rest();

 private:
  void listen();
  bool take();
  void keep(const char* text, std::size_t length);

  std::array<int, 2> ends_{-1, -1};
  std::mutex mutex_;
  std::string kept_;
  std::size_t seen_ = 0;  // bytes of this frame
  std::atomic<bool> fresh_ = false, enough_ = false;
  std::thread thread_;
};

}  // namespace quillmere::app
