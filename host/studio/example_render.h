#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "commands/options.h"
#include "watch.h"

namespace quillmere::studio {

// Renders the example scene into the write directory with the drawing that needs no service, by this program's own
// command in a process of its own, which ends with this. It is seen like any other render; beside that, the event
// "example" tells that it runs, is done, or why it failed. Any thread.
class ExampleRender {
 public:
  // Both must outlive it.
  ExampleRender(Watch& watch, const app::SessionOptions& session) : watch_(watch), session_(session) {}
  ~ExampleRender();
  ExampleRender(const ExampleRender&) = delete;
  ExampleRender& operator=(const ExampleRender&) = delete;

  // Returns at once. Throws Refused (409) while it runs, and where another program may render.
  void start();

 private:
  void render();
  // Nothing when it ended well.
  std::string problemOf(const std::vector<std::string>& command);
  void tell(const char* state, const std::string& problem = {});

  Watch& watch_;
  const app::SessionOptions& session_;
  std::atomic<bool> ended_ = false, running_ = false;
  std::mutex mutex_;  // guards the thread's beginning
  std::thread thread_;
};

}  // namespace quillmere::studio
