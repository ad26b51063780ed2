#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "layer_loop.h"
#include "line_drawing.h"

namespace quillmere::render {

// What lines are found in while a picture is drawn, in strips as high as its tiles. A strip's lines are drawn as soon
// as it and the two beside it are there, by the thread that drew the last of their tiles; then its memory serves the
// next ones. So of a large picture there are only a few at a time, mostly still in the cache.
class LineStrips {
 public:
  // Of tiles with sides of `side` pixels, a power of two. `lines` is Float grey and as large as the picture; it must
  // outlive this.
  LineStrips(const scene::Camera& camera, int side, image::Image& lines);

  // Each tile is begun, then its pixels are put into their rows, then it is ended, on one thread; several may be at it
  // at once. Throws std::bad_alloc.
  void begin(const Tile& tile);
  LineRow rowAt(int y) { return strips_[static_cast<std::size_t>(y >> shift_)].rows->row(y & (side_ - 1)); }
  void end(const Tile& tile);

 private:
  struct Strip {
    int tilesOpen;                   // of this one and those beside it
    int uses;                        // strips whose lines are still to be drawn from this one
    std::unique_ptr<LineRows> rows;  // from the first tile on until it has no use any more
  };

  // Calls work(strip) for that of the tile's row and those beside it.
  template <class Work>
  void forThoseBeside(int strip, const Work& work);
  void draw(int strip);

  LineSearch search_;
  int side_, shift_;  // `side_` is 1 << `shift_`: a division for each pixel would take longer than the rest of rowAt
  image::Image& lines_;
  std::mutex mutex_;  // guards what follows, but for rows that were begun
  std::vector<Strip> strips_;
  std::vector<std::unique_ptr<LineRows>> spare_;
};

}  // namespace quillmere::render
