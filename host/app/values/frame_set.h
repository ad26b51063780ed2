#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Which frames are rendered, as command lines and farms say them.
namespace quillmere::app {

// Frames first, first + step, … up to last. `last` is at least `first`, `step` at least 1.
struct FrameRange {
  std::int32_t first = 0, last = 0, step = 1;

  std::int64_t count() const { return (std::int64_t{last} - first) / step + 1; }
  // The frame at `index`, which must lie in 0 … count() - 1.
  std::int32_t at(std::int64_t index) const { return static_cast<std::int32_t>(first + index * step); }
};

// At least one frame; each frame once, ascending, as farms' engines want their ranges.
class FrameSet {
 public:
  FrameSet() : FrameSet(FrameRange{}) {}  // frame 0
  explicit FrameSet(FrameRange range) : ranges_{range} {}
  // Of frames in any order, also several times; at least one.
  static FrameSet of(std::vector<std::int32_t> frames);

  std::int64_t count() const;
  // The frame at `index`, which must lie in 0 … count() - 1.
  std::int32_t at(std::int64_t index) const;
  std::int32_t first() const { return ranges_.front().first; }
  std::int32_t last() const { return at(count() - 1); }

  // The share of part `part` (from 0) of `parts`: neighbouring frames, each in one share, the shares' sizes one apart
  // at most. There must be at least as many frames as parts.
  FrameSet share(std::int64_t part, std::int64_t parts) const;

  // What parseFrameSet reads as the same set, and engines that speak Open Job Description too: "1-10,20,30-40:2".
  std::string text() const;

 private:
  std::vector<FrameRange> ranges_;  // ascending; each begins after the end of the one before
};

inline constexpr std::int64_t kMostListedFrames = 1'000'000;  // of a set of several ranges

// Reads ranges A, A-B, A-BxSTEP and A-B:STEP with commas between them; A and B may be negative ("-10--2x4"). Throws
// Failure (usage), also when ranges of more than kMostListedFrames frames together are listed.
FrameSet parseFrameSet(const std::string& text);

}  // namespace quillmere::app
