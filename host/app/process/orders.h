#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace quillmere::app {

// What the process that has started this one as a WorkerProcess wants: the lines on standard input, read by a thread of
// its own, so that their end, which is the other's end too, is noticed while something is being rendered. One may
// exist.
class Orders {
 public:
  // Takes standard input away from the processes that are started from here; they have an empty one.
  Orders();
  ~Orders();
  Orders(const Orders&) = delete;
  Orders& operator=(const Orders&) = delete;

  // The next line, waited for; none when no other comes and when `stop` says true.
  std::optional<std::string> next(const std::function<bool()>& stop);
  // Whether no other line will come. Any thread; never blocks.
  bool ended() const { return ended_; }

 private:
  void read();
  void add(const char* text, std::size_t length);

  int descriptor_;
  std::atomic<bool> ended_{false}, enough_{false};
  std::mutex mutex_;  // guards the lines
  std::condition_variable changed_;
  std::deque<std::string> lines_;
  std::string begun_;   // the thread's own: a line that has not ended
  std::thread thread_;  // last, so that it starts with everything above made
};

}  // namespace quillmere::app
