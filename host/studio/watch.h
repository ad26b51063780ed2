#pragma once

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include "event_hub.h"
#include "frames.h"
#include "history.h"
#include "marks.h"
#include "ownership.h"
#include "picture_shelf.h"
#include "thumbnails.h"

namespace quillmere::studio {

// All that a page shows of a write directory, kept up to date by a thread that looks every kPause, and told to those
// who listen: "view", "frame", "history", "owner". docs/studio-protocol.md has the members.
class Watch {
 public:
  // Below `folders`, besides the write directory, any picture may be shown.
  Watch(std::filesystem::path writeDirectory, const std::vector<std::filesystem::path>& folders);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // {"write_directory", "owner", "other_owner": as in the event, "view": likewise, "frames": [...]}
  Json state();
  Json view();  // {"last", "selected", "locked_style", "guide": cards; "status", "history": its document}
  const std::filesystem::path& writeDirectory() const { return writeDirectory_; }
  // Of this program's own, beside the folders that the effect knows.
  std::filesystem::path studioFolder() const;
  PictureShelf& shelf() { return shelf_; }
  Marks& marks() { return marks_; }
  Ownership& ownership() { return ownership_; }
  // Read when it is asked for or the thread comes to it, so that a long one doesn't keep a page from what else there
  // is.
  const History& history();
  const Frames& frames() const { return frames_; }
  Thumbnails& thumbnails() { return thumbnails_; }
  EventHub& hub() { return hub_; }

 private:
  Json owner();  // {"owner": whether this program may render here, "other_owner": the process that may, as a text}
  void look(unsigned round);
  void readRecords();
  void lookUntilEnd();

  std::filesystem::path writeDirectory_;
  PictureShelf shelf_;
  Marks marks_;
  Ownership ownership_;
  History history_;
  Frames frames_;
  Thumbnails thumbnails_;
  EventHub hub_;
  std::string viewStamp_;
  bool owner_ = false;  // as it was told
  std::once_flag historyRead_;
  unsigned lookAgainUntil_ = 0;  // round
  bool recordsRead_ = false;     // since the history was told last
  std::atomic<bool> ended_ = false;
  std::thread thread_;  // last, so that it starts with everything above made
};

}  // namespace quillmere::studio
