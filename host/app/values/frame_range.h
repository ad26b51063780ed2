#pragma once

#include <cstdint>
#include <string>

namespace quillmere::app {

// Frames first, first + step, … up to last. `last` is at least `first`, `step` at least 1.
struct FrameRange {
  std::int32_t first = 0, last = 0, step = 1;

  std::int64_t count() const { return (std::int64_t{last} - first) / step + 1; }
  // The frame at `index`, which must lie in 0 … count() - 1.
  std::int32_t at(std::int64_t index) const { return static_cast<std::int32_t>(first + index * step); }
};

// Reads "A", "A-B" or "A-BxSTEP"; A and B may be negative ("-10--2x4"). Throws Failure (usage).
FrameRange parseFrameRange(const std::string& text);

}  // namespace quillmere::app
