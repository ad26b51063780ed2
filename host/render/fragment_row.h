#pragma once

#include <cstddef>
#include <vector>

#include "lit_picture.h"

namespace quillmere::render {

// The fragments of all pixels of a picture in one row of numbers, pixel by pixel.
class FragmentRow {
 public:
  explicit FragmentRow(const LitPicture& picture) : picture_(picture), firsts_(picture.pixels.size() + 1) {
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
      firsts_[i + 1] = firsts_[i] + picture.pixels[i].fragments.size();
    }
  }
  std::size_t count() const { return firsts_.back(); }
  std::size_t first(int x, int y) const { return firsts_[picture_.index(x, y)]; }

  // Calls each(at, fragment) for those of a pixel.
  template <class Each>
  void of(int x, int y, const Each& each) const {
    const std::size_t pixel = picture_.index(x, y);
    const std::vector<LitFragment>& fragments = picture_.pixels[pixel].fragments;
    for (std::size_t i = 0; i < fragments.size(); ++i) each(firsts_[pixel] + i, fragments[i]);
  }

  // Calls each(at, weight) for those of a pixel and of those `step` beside it, as far as the picture goes.
  template <class Each>
  void around(int x, int y, int step, const Each& each) const {
    for (int row = -1; row <= 1; ++row) {
      const int line = y + row * step;
      if (line < 0 || line >= picture_.height) continue;
      for (int column = -1; column <= 1; ++column) {
        const int place = x + column * step;
        if (place < 0 || place >= picture_.width) continue;
        const float weight = (row == 0 ? 2.0F : 1.0F) * (column == 0 ? 2.0F : 1.0F);
        const std::size_t pixel = picture_.index(place, line);
        for (std::size_t at = firsts_[pixel], end = firsts_[pixel + 1]; at < end; ++at) each(at, weight);
      }
    }
  }

 private:
  const LitPicture& picture_;
  std::vector<std::size_t> firsts_;
};

}  // namespace quillmere::render
