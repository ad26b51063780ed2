#include "frame_set.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "failure.h"

namespace quillmere::app {
namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& why) {
  throw Failure(
      ExitStatus::Usage, "--frames '" + text + "'", why,
      "write A, A-B or A-BxSTEP with whole numbers, several with commas between them, for example 12, 1-48x4 or\n"
      "  1-10,20,30-40x2");
}

// Takes one number off the front of `rest`.
std::int32_t takeNumber(const std::string& text, std::string_view& rest) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error == std::errc::result_out_of_range) refuse(text, "a number is beyond the frames there can be");
  if (error != std::errc{}) refuse(text, "not a set of frames");
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  return number;
}

bool take(char wanted, std::string_view& rest) {
  if (rest.empty() || rest.front() != wanted) return false;
  rest.remove_prefix(1);
  return true;
}

FrameRange takeRange(const std::string& text, std::string_view& rest) {
  FrameRange range;
  range.first = range.last = takeNumber(text, rest);
  if (take('-', rest)) {
    range.last = takeNumber(text, rest);
    if (take('x', rest) || take(':', rest)) range.step = takeNumber(text, rest);
  }
  if (range.last < range.first) refuse(text, "the last frame comes before the first");
  if (range.step < 1) refuse(text, "the step must be at least 1");
  return range;
}

std::string textOf(const FrameRange& range) {
  std::string text = std::to_string(range.first);
  if (range.count() > 1) text += "-" + std::to_string(range.at(range.count() - 1));
  if (range.count() > 1 && range.step > 1) text += ":" + std::to_string(range.step);
  return text;
}

// The longest range of one step that `frames`, which are ascending, hold from `at` on; two frames that aren't
// neighbours make none.
FrameRange rangeFrom(const std::vector<std::int32_t>& frames, std::size_t at) {
  const auto gap = [&](std::size_t before) { return std::int64_t{frames[before + 1]} - frames[before]; };
  if (at + 1 == frames.size() || gap(at) > INT32_MAX) return {frames[at], frames[at], 1};
  std::size_t last = at + 1;
  while (last + 1 < frames.size() && gap(last) == gap(at)) ++last;
  const std::int64_t step = gap(at);
  return step > 1 && last == at + 1 ? FrameRange{frames[at], frames[at], 1}
                                    : FrameRange{frames[at], frames[last], static_cast<std::int32_t>(step)};
}

}  // namespace

FrameSet FrameSet::of(std::vector<std::int32_t> frames) {
  std::sort(frames.begin(), frames.end());
  frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
  FrameSet set;
  set.ranges_.clear();
  for (std::size_t at = 0; at < frames.size(); at += static_cast<std::size_t>(set.ranges_.back().count())) {
    set.ranges_.push_back(rangeFrom(frames, at));
  }
  return set;
}

std::int64_t FrameSet::count() const {
  std::int64_t count = 0;
  for (const FrameRange& range : ranges_) count += range.count();
  return count;
}

std::int32_t FrameSet::at(std::int64_t index) const {
  auto range = ranges_.begin();
  for (; index >= range->count(); ++range) index -= range->count();
  return range->at(index);
}

FrameSet FrameSet::share(std::int64_t part, std::int64_t parts) const {
  const std::int64_t all = count(), each = all / parts, larger = all % parts;
  std::int64_t skipped = part * each + std::min(part, larger), left = each + (part < larger ? 1 : 0);
  FrameSet share;
  share.ranges_.clear();
  for (const FrameRange& range : ranges_) {
    const std::int64_t from = std::min(skipped, range.count()), taken = std::min(left, range.count() - from);
    if (taken > 0) share.ranges_.push_back({range.at(from), range.at(from + taken - 1), range.step});
    skipped -= from;
    left -= taken;
  }
  return share;
}

std::string FrameSet::text() const {
  std::string text;
  for (const FrameRange& range : ranges_) text += (text.empty() ? "" : ",") + textOf(range);
  return text;
}

FrameSet parseFrameSet(const std::string& text) {
  std::string_view rest = text;
  std::vector<FrameRange> ranges{takeRange(text, rest)};
  std::int64_t listed = ranges.front().count();
  while (take(',', rest)) {
    ranges.push_back(takeRange(text, rest));
    listed += ranges.back().count();
    if (listed > kMostListedFrames) refuse(text, "more than a million frames are listed");
  }
  if (!rest.empty()) refuse(text, "'" + std::string(rest) + "' does not belong to a set of frames");
  if (ranges.size() == 1) return FrameSet(ranges.front());
  std::vector<std::int32_t> frames;
  for (const FrameRange& range : ranges) {
    for (std::int64_t index = 0; index < range.count(); ++index) frames.push_back(range.at(index));
  }
  return FrameSet::of(std::move(frames));
}

}  // namespace quillmere::app
