#include "frame_range.h"

#include <charconv>
#include <string_view>

#include "failure.h"

namespace quillmere::app {
namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& why) {
  throw Failure(ExitStatus::Usage, "--frames '" + text + "'", why,
                "write A, A-B or A-BxSTEP with whole numbers, for example 12, 1-48 or 1-48x4");
}

// Takes one number off the front of `rest`.
std::int32_t takeNumber(const std::string& text, std::string_view& rest) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error == std::errc::result_out_of_range) refuse(text, "a number is beyond the frames there can be");
  if (error != std::errc{}) refuse(text, "not a range of frames");
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  return number;
}

bool take(char wanted, std::string_view& rest) {
  if (rest.empty() || rest.front() != wanted) return false;
  rest.remove_prefix(1);
  return true;
}

}  // namespace

FrameRange parseFrameRange(const std::string& text) {
  std::string_view rest = text;
  FrameRange range;
  range.first = range.last = takeNumber(text, rest);
  if (take('-', rest)) {
    range.last = takeNumber(text, rest);
    if (take('x', rest)) range.step = takeNumber(text, rest);
  }
  if (!rest.empty()) refuse(text, "'" + std::string(rest) + "' does not belong to a range of frames");
  if (range.last < range.first) refuse(text, "the last frame comes before the first");
  if (range.step < 1) refuse(text, "the step must be at least 1");
  return range;
}

}  // namespace quillmere::app
