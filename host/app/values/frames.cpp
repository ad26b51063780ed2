#include "frames.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "failure.h"
#include "image/image.h"

namespace quillmere::app {
namespace {

[[noreturn]] void refuseRange(const std::string& text, const std::string& why) {
  throw Failure(ExitStatus::Usage, "--frames '" + text + "'", why,
                "write A, A-B or A-BxSTEP with whole numbers, for example 12, 1-48 or 1-48x4");
}

// Takes one number off the front of `rest`.
std::int32_t takeNumber(const std::string& text, std::string_view& rest) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error == std::errc::result_out_of_range) refuseRange(text, "a number is beyond the frames there can be");
  if (error != std::errc{}) refuseRange(text, "not a range of frames");
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  return number;
}

bool take(char wanted, std::string_view& rest) {
  if (rest.empty() || rest.front() != wanted) return false;
  rest.remove_prefix(1);
  return true;
}

struct Ending {
  const char* text;
  FileFormat format;
};
// The longer ending of two that fit comes first.
constexpr std::array kEndings{Ending{".16.png", FileFormat::Png16}, Ending{".png", FileFormat::Png8},
                              Ending{".exr", FileFormat::Exr}};

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

std::string padded(std::int32_t frame, std::size_t digits) {
  std::string number = std::to_string(frame);
  const bool negative = number.front() == '-';
  if (negative) number.erase(0, 1);
  if (number.size() < digits) number.insert(0, digits - number.size(), '0');
  return (negative ? "-" : "") + number;
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
  if (!rest.empty()) refuseRange(text, "'" + std::string(rest) + "' does not belong to a range of frames");
  if (range.last < range.first) refuseRange(text, "the last frame comes before the first");
  if (range.step < 1) refuseRange(text, "the step must be at least 1");
  return range;
}

PictureSize parsePictureSize(const std::string& text) {
  PictureSize size;
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, size.width);
  const bool crossed = width.ec == std::errc{} && width.ptr != end && *width.ptr == 'x';
  const auto height = crossed ? std::from_chars(width.ptr + 1, end, size.height) : width;
  const auto fits = [](int side) { return side >= 1 && side <= image::kMaxSide; };
  if (!crossed || height.ec != std::errc{} || height.ptr != end || !fits(size.width) || !fits(size.height)) {
    throw Failure(
        ExitStatus::Usage, "--size '" + text + "'", "not the size of a picture",
        "write WIDTHxHEIGHT in pixels, each 1 to " + std::to_string(image::kMaxSide) + ", for example 1920x1080");
  }
  return size;
}

const char* wordOf(GuideMode mode) {
  return mode == GuideMode::FinalRender ? kGuideModeWords[1] : kGuideModeWords[0];
}

GuideMode guideModeOf(std::string_view word) {
  return word == wordOf(GuideMode::FinalRender) ? GuideMode::FinalRender : GuideMode::QuickShading;
}

OutputPattern OutputPattern::parse(const std::string& text) {
  const std::filesystem::path path(text);
  const std::string name = path.filename().string();
  for (const Ending& ending : kEndings) {
    const std::string_view end = ending.text;
    if (name.size() <= end.size() || lowered(name.substr(name.size() - end.size())) != end) continue;
    OutputPattern pattern;
    pattern.folder_ = path.parent_path();
    pattern.name_ = name.substr(0, name.size() - end.size());
    pattern.ending_ = name.substr(name.size() - end.size());
    pattern.format_ = ending.format;
    return pattern;
  }
  throw Failure(ExitStatus::Usage, "--output '" + text + "'", "its end names no format",
                "end it in .png (8 bits), .16.png (16 bits) or .exr (floats), for example shots/harbour_####.png");
}

OutputPattern OutputPattern::numberingFrames() const {
  OutputPattern numbering = *this;
  if (!numbersFrames()) numbering.name_ += "_####";
  return numbering;
}

std::filesystem::path OutputPattern::fileFor(std::int32_t frame) const {
  std::string name;
  for (std::size_t at = 0; at < name_.size();) {
    const std::size_t end = std::min(name_.find_first_not_of('#', at), name_.size());
    if (end > at) {
      name += padded(frame, end - at);
      at = end;
    } else {
      name += name_[at++];
    }
  }
  return folder_ / (name + ending_);
}

}  // namespace quillmere::app
