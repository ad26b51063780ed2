#pragma once

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "picture_shelf.h"

namespace quillmere::studio {

// Guides of the scene as the page has it now, drawn by `quillmere guide` at a size that is quick to draw. Nothing is
// drawn twice: the pictures are kept, the last kKept of them, in a folder of their own. Any thread.
class DeskGuides {
 public:
  static constexpr int kLongestSide = 1920;  // pixels

  DeskGuides(std::filesystem::path folder, PictureShelf& shelf) : folder_(std::move(folder)), shelf_(shelf) {}

  // The card of a guide of the job, as the shelf has it, its longer side at most `longest` pixels. The newest wish
  // wins: an older one that is still being drawn is refused (409) and ended. Throws Refused.
  Json live(const Json& job, int longest);
  // [{"name", "picture": card}, ...] of these cameras. The same holds.
  Json cameras(Json job, const std::vector<std::string>& names);

 private:
  // What is drawn for one part of the page.
  struct Easel {
    std::atomic<unsigned> newest{0};
    std::mutex drawing;
  };

  // Draws the files, unless all are there.
  void draw(Easel& easel, std::vector<std::string> words, const std::vector<std::filesystem::path>& files);
  void clear() const;

  static constexpr std::size_t kKept = 300;

  std::filesystem::path folder_;
  PictureShelf& shelf_;
  Easel live_, cameras_;
};

}  // namespace quillmere::studio
