#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "base/json.h"

namespace quillmere::studio {

// An event as a stream of them has it.
std::string eventText(const std::string& event, const Json& data);

// Passes what changes on to every page that listens. Any thread.
class EventHub {
 public:
  // One listener's events that it has not yet taken. When more than kMostWaiting wait, those are dropped and it is told
  // "lost": it then asks for the whole state again.
  class Listener {
   public:
    // The next one as a server-sent event, a comment that keeps the line open after `patience` without any, or nothing
    // when the hub has closed and all was taken.
    std::optional<std::string> next(std::chrono::milliseconds patience);

   private:
    friend class EventHub;
    static constexpr std::size_t kMostWaiting = 512;
    void add(const std::string& text);
    void close();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::string> waiting_;
    bool closed_ = false;
  };

  // None when as many listen already as may.
  std::shared_ptr<Listener> listen();
  void leave(const std::shared_ptr<Listener>& listener);
  void tell(const std::string& event, const Json& data);
  // Ends every listener's waiting, for good, once it has taken what waits; gives them a moment to leave.
  void close();

 private:
  static constexpr std::size_t kMostListeners = 12;

  std::mutex mutex_;
  std::condition_variable left_;
  std::set<std::shared_ptr<Listener>> listeners_;
  bool closed_ = false;
};

}  // namespace quillmere::studio
