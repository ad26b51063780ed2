#pragma once

#include <filesystem>
#include <mutex>
#include <string>

#include "picture_shelf.h"

namespace quillmere::studio {

// Small PNGs of pictures, made once and kept in a folder of their own. Any thread; one is made at a time.
class Thumbnails {
 public:
  static constexpr int kLongestSide = 320;  // pixels

  explicit Thumbnails(std::filesystem::path folder) : folder_(std::move(folder)) {}

  // Of the picture in `file`, which `id` and `stamp` stand for. One that can't be kept is made again each time. Throws
  // Error for a picture that can't be read.
  WebPicture of(const HeldFile& file, const std::string& id, const std::string& stamp);

 private:
  std::filesystem::path folder_;
  std::mutex mutex_;
};

}  // namespace quillmere::studio
