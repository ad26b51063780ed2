#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "held_file.h"

namespace quillmere::studio {

// The pictures that the page may show, by identifiers: who asks can't name a path. Any thread.
class PictureShelf {
 public:
  // Below `folders` anything may be shown that is a picture; elsewhere what carries the record of a render.
  explicit PictureShelf(const std::vector<std::filesystem::path>& folders);

  // The identifier of the picture, in 16 hexadecimal digits, "stamp", which changes with its content, and "name";
  // null when there is no such file.
  Json cardOf(const std::filesystem::path& picture);
  std::string idOf(const std::filesystem::path& picture);

  // The file of an identifier that was given out; none for another.
  std::optional<std::filesystem::path> find(const std::string& id) const;
  // The same when it may be shown: an ordinary file where links have been followed, in a place as above.
  std::optional<HeldFile> shown(const std::string& id) const;
  // A file that is no picture, held when it lies below the folders where links have been followed.
  std::optional<HeldFile> heldWithin(const std::filesystem::path& file) const;

 private:
  bool liesWithin(const HeldFile& file) const;

  std::vector<std::filesystem::path> folders_;  // resolved
  mutable std::mutex mutex_;                    // guards all below
  std::map<std::string, std::filesystem::path> pictures_;
};

// What changes when a file is written or replaced; empty when there is none.
std::string stampOf(const std::filesystem::path& file);

// The content of a picture as a browser takes it.
struct WebPicture {
  std::string type;  // MIME type
  std::string content;
};

// PNG, JPEG and WebP as they are; nothing else. Throws Error.
WebPicture webPictureOf(const std::filesystem::path& file);

}  // namespace quillmere::studio
