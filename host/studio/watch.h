#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

#include "event_hub.h"
#include "frames.h"
#include "history.h"
#include "marks.h"
#include "picture_shelf.h"
#include "thumbnails.h"

namespace quillmere::studio {

// All that a page shows of a write directory, kept up to date by a thread that looks every kPause, and told to those
// who listen: "view", "frame", "history". docs/studio.md has the members.
class Watch {
 public:
  // Below `folders`, besides the write directory, any picture may be shown.
  Watch(std::filesystem::path writeDirectory, const std::vector<std::filesystem::path>& folders);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // {"write_directory", "view": as in the event, "frames": [...]}
  Json state();
  Json view();  // {"last", "selected", "locked_style", "guide": cards; "status", "history": its document}
  const std::filesystem::path& writeDirectory() const { return writeDirectory_; }
  PictureShelf& shelf() { return shelf_; }
  Marks& marks() { return marks_; }
  const History& history() const { return history_; }
  const Frames& frames() const { return frames_; }
  Thumbnails& thumbnails() { return thumbnails_; }
  EventHub& hub() { return hub_; }

 private:
  void look(unsigned round);
  void lookUntilEnd();

  std::filesystem::path writeDirectory_;
  PictureShelf shelf_;
  Marks marks_;
  History history_;
  Frames frames_;
  Thumbnails thumbnails_;
  EventHub hub_;
  std::string viewStamp_;
  unsigned lookAgainUntil_ = 0;  // round
  std::atomic<bool> ended_ = false;
  std::thread thread_;  // last, so that it starts with everything above made
};

}  // namespace quillmere::studio
