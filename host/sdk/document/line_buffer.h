#pragma once

#include <functional>
#include <vector>

#include "image/image.h"

namespace quillmere::host {

// The lines of a frame as interleaved floats, display-referred. The host's own drawing stands under them: it runs once,
// the first time a line is needed that nobody has written as a whole, so lines that were all written cost no drawing.
class LineBuffer {
 public:
  // Float with at least three channels and exactly the buffer's size, or empty when it failed or was stopped. It must
  // not throw.
  using Drawing = std::function<image::Image()>;
  enum class Depth { Byte, Word, Float };  // of the caller's components: 0-255, 0-65535, nominally 0-1

  // `components` 3 or 4, the fourth being an opaque alpha where it was drawn. Throws Error for an impossible
  // size.
  LineBuffer(int width, int height, int components, Drawing drawing);

  int width() const { return picture_.width(); }
  int height() const { return picture_.height(); }
  int components() const { return picture_.channels(); }

  // `count` pixels of line `y` from column `x`; `data` holds count * components() values. False, with nothing written
  // or read, for null data, pixels outside of the buffer, or a drawing that was needed and failed.
  bool write(int x, int y, int count, const void* data, Depth depth);
  bool read(int x, int y, int count, void* data, Depth depth);

  bool complete();  // draws what nobody has written; false when the drawing failed
  bool drawn() const { return state_ == State::Done; }
  image::Image take();  // the picture; the buffer is empty afterwards

 private:
  enum class State { Pending, Done, Failed };  // of the drawing

  bool covers(int x, int y, int count) const;
  bool ensure(int y);

  image::Image picture_;
  std::vector<bool> present_;  // per line: written as a whole, or drawn
  Drawing drawing_;
  State state_ = State::Pending;
};

}  // namespace quillmere::host
