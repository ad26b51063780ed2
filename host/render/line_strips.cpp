#include "line_strips.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace quillmere::render {

template <class Work>
void LineStrips::forThoseBeside(int strip, const Work& work) {
  const int last = static_cast<int>(strips_.size()) - 1;
  for (int i = std::max(0, strip - 1); i <= std::min(last, strip + 1); ++i) work(i);
}

LineStrips::LineStrips(const scene::Camera& camera, int side, image::Image& lines)
    : search_(camera),
      side_(side),
      shift_(std::countr_zero(static_cast<unsigned>(side))),
      lines_(lines),
      strips_(static_cast<std::size_t>((lines.height() + side - 1) / side)) {
  const int columns = (lines.width() + side - 1) / side;
  for (int i = 0; i < static_cast<int>(strips_.size()); ++i) {
    forThoseBeside(i, [&](int beside) {
      strips_[static_cast<std::size_t>(beside)].tilesOpen += columns;
      ++strips_[static_cast<std::size_t>(beside)].uses;
    });
  }
}

void LineStrips::begin(const Tile& tile) {
  const std::lock_guard locked(mutex_);
  std::unique_ptr<LineRows>& rows = strips_[static_cast<std::size_t>(tile.top / side_)].rows;
  if (rows) return;
  if (spare_.empty()) {
    rows = std::make_unique<LineRows>(lines_.width(), side_);
  } else {
    rows = std::move(spare_.back());
    spare_.pop_back();
  }
}

void LineStrips::end(const Tile& tile) {
  for (int y = tile.top; y < tile.bottom; ++y) {
    if (tile.left == 0) rowAt(y).repeatFirst();
    if (tile.right == lines_.width()) rowAt(y).repeatLast(lines_.width());
  }
  std::vector<int> ready;
  {
    const std::lock_guard locked(mutex_);
    forThoseBeside(tile.top / side_, [&](int strip) {
      if (--strips_[static_cast<std::size_t>(strip)].tilesOpen == 0) ready.push_back(strip);
    });
  }
  for (const int strip : ready) draw(strip);
}

void LineStrips::draw(int strip) {
  const int last = lines_.height() - 1;
  for (int y = strip * side_; y <= std::min(last, strip * side_ + side_ - 1); ++y) {
    std::array<LineRow, 2 * LineSearch::kReach + 1> around;
    for (int i = 0; i < static_cast<int>(around.size()); ++i) {
      around[static_cast<std::size_t>(i)] = rowAt(std::clamp(y + i - LineSearch::kReach, 0, last));
    }
    search_.draw(around, lines_.width(), lines_.row<float>(y));
  }
  const std::lock_guard locked(mutex_);
  forThoseBeside(strip, [&](int beside) {
    Strip& done = strips_[static_cast<std::size_t>(beside)];
    if (--done.uses == 0) spare_.push_back(std::move(done.rows));
  });
}

}  // namespace quillmere::render
