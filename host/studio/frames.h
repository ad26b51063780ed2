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
// done there. Any thread.
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

  // What the helper has left to be read of the frame; empty when it is nothing.
  std::string log(std::int64_t frame) const;

 private:
  Json look(std::int64_t frame) const;
  std::string stampsOf(std::int64_t frame) const;
  std::filesystem::path file(const char* stem, std::int64_t frame, const char* extension) const;

  std::filesystem::path writeDirectory_, folder_;
  PictureShelf& shelf_;
  mutable std::mutex mutex_;                    // guards all below
  std::map<std::int64_t, std::string> stamps_;  // of all files that the frame was told of
  std::map<std::int64_t, Json> told_;
};

}  // namespace quillmere::studio
