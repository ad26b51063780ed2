#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/json.h"
#include "picture_shelf.h"

namespace quillmere::studio {

// The frames that have exchange files in a write directory: what renders of this or any other process are doing or have
// done there. Renders of several frames at a time have a folder each below it, and a frame's files are in the write
// directory itself from its end on; of several the latest request counts. Any thread.
class Frames {
 public:
  Frames(std::filesystem::path writeDirectory, PictureShelf& shelf);

  // Reads what has changed since the last time, and returns those frames as told() does.
  std::vector<Json> refresh();

  // All frames by number, each
  //   {"frame", "state": "running"|"done"|"failed", "heard": ms since 1970 of the last sign of life,
  //    "guide", "picture", "preview": as PictureShelf::cardOf has them, "log": whether the helper left one,
  //    "error": what went wrong, "message", "phase", "progress", "step", "steps", "seconds_left", "ahead": while it
  //    runs}
  std::vector<Json> told() const;

  // The pictures of the scene beside the guide that its result was made with, and the shot's rate, as the result's
  // record tells: {"passes": [{"name": "depth", "picture": card}, ...], "fps": number, text or null}
  Json madeWith(std::int64_t frame) const;

  // What the helper has left to be read of the frame; empty when it is nothing.
  std::string log(std::int64_t frame) const;

 private:
  struct Place {
    std::filesystem::path folder;
    std::int64_t asked = 0;  // when its request was written there, nanoseconds since 1970
  };
  struct Folder {
    std::int64_t read = -1;  // its own time when it was
    std::map<std::int64_t, Place> frames;
  };
  void readFolder(const std::filesystem::path& folder);
  std::map<std::int64_t, Place> places();
  Json look(const std::filesystem::path& folder, std::int64_t frame) const;

  std::filesystem::path writeDirectory_, folder_;
  PictureShelf& shelf_;
  mutable std::mutex mutex_;  // guards all below
  std::map<std::filesystem::path, Folder> folders_;
  std::map<std::int64_t, std::string> stamps_;  // of all files that the frame was told of
  std::map<std::int64_t, Json> told_;
  std::map<std::int64_t, std::filesystem::path> logs_;
};

}  // namespace quillmere::studio
