#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "desk_guides.h"
#include "event_hub.h"

namespace quillmere::studio {

// The one render that the page makes at a time: `quillmere render --json` in a process of its own, which a thread that
// owns it starts, listens to and waits for. What it prints is told to those who listen as "render", and to `echo`, a
// line each. It breaks off when this program ends, however that comes. Any thread.
class Desk {
 public:
  // `echo` may be empty; it is called by the thread.
  Desk(EventHub& hub, std::function<void(const std::string&)> echo);
  ~Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;

  // Begins to render with these words of a command line. Throws Refused (409) while something is being rendered.
  void render(std::vector<std::string> words);
  // As Ctrl-C does: the frame that is being rendered is stopped in order. Throws Refused (409) when there is none.
  void breakOff();
  // The same where there is one, waited for; nothing is rendered from then on.
  void finish();
  // {"running", and the last "start", "sequence" and "end" events, as far as there are any}
  Json told();

  // What the page was shown last, for the next one that is opened.
  Json job();
  void keep(const Json& job);
  // The files that a job may name as its scene or its style: those that this program has named itself.
  void know(const Json& job);
  bool knows(const std::string& file);

 private:
  void work();
  void run(const std::vector<std::string>& words);
  void pass(const std::string& line);
  bool breakWanted();

  EventHub& hub_;
  std::function<void(const std::string&)> echo_;
  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  std::vector<std::string> words_;  // of the render that is going on or to begin; empty: none
  bool break_ = false, ended_ = false;
  Json told_ = Json::object(), job_;
  std::set<std::string> known_;
  std::thread thread_;  // last, so that it starts with everything above made
};

// What a page with a scene may ask of.
struct Steering {
  Desk& desk;
  DeskGuides& guides;
  std::vector<std::string> always;  // what each render is told besides its job: how failures are met, and the like
};

}  // namespace quillmere::studio
