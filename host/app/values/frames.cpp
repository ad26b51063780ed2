#include "frames.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <string_view>

#include "failure.h"
#include "image/image.h"

namespace quillmere::app {
namespace {

constexpr double kMostSeconds = 1e7;  // four months

[[noreturn]] void refuseRate(const std::string& text) {
  throw Failure(ExitStatus::Usage, "--fps '" + text + "'", "no rate from 1 to " + std::to_string(kMostFps),
                "write a number or a ratio of whole numbers, for example 24, 23.976 or 24000/1001");
}

// A whole number of at most nine digits; none for anything else.
std::optional<std::int32_t> wholeNumber(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool read = error == std::errc{} && end == text.data() + text.size() && text.front() != '-';
  return read && text.size() <= 9 ? std::optional(number) : std::nullopt;
}

// The rates of video that are 1000/1001 of a whole one, which nobody writes in full.
std::optional<FrameRate> videoRate(double value, double tolerance) {
  for (const std::int32_t whole : {24, 30, 48, 60, 120}) {
    if (std::abs(value - whole * 1000.0 / 1001.0) <= tolerance) return FrameRate{whole * 1000, 1001};
  }
  return {};
}

std::optional<FrameRate> decimalRate(std::string_view text) {
  const std::size_t point = text.find('.');
  const std::string_view digits = text.substr(point + 1);
  const auto whole = wholeNumber(text.substr(0, point)), part = wholeNumber(digits);
  if (!whole || *whole > kMostFps || !part || digits.size() > 4) return {};
  std::int32_t unit = 1;
  for (std::size_t digit = 0; digit < digits.size(); ++digit) unit *= 10;
  const double value = *whole + static_cast<double>(*part) / unit;
  if (const auto video = digits.size() < 2 ? std::nullopt : videoRate(value, 0.5 / unit)) return video;
  const std::int32_t frames = *whole * unit + *part, common = std::gcd(frames, unit);
  return FrameRate{frames / common, unit / common};
}

std::optional<FrameRate> rateIn(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos && text.find('.') != std::string::npos) return decimalRate(text);
  const auto frames = wholeNumber(std::string_view(text).substr(0, slash));
  const auto seconds = slash == std::string::npos ? 1 : wholeNumber(std::string_view(text).substr(slash + 1));
  if (!frames || !seconds || *seconds == 0) return {};
  return FrameRate{*frames, *seconds};
}

}  // namespace

std::string FrameRate::text() const {
  return std::to_string(frames) + (seconds == 1 ? "" : "/" + std::to_string(seconds));
}

FrameRate parseFrameRate(const std::string& text) {
  const auto rate = rateIn(text);
  if (!rate || rate->frames < rate->seconds || rate->frames / kMostFps > rate->seconds ||
      (rate->frames / kMostFps == rate->seconds && rate->frames % kMostFps > 0)) {
    refuseRate(text);
  }
  return *rate;
}

double parseSeconds(const std::string& text) {
  double seconds = 0.0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, seconds);
  if (read.ec == std::errc{} && read.ptr == end && std::abs(seconds) <= kMostSeconds) return seconds;
  throw Failure(ExitStatus::Usage, "--time '" + text + "'", "no time that can be shown",
                "write a number of seconds, for example 1.5");
}

std::int32_t frameAt(double seconds, const FrameRate& rate) {
  constexpr double kRounding = 1e-6;  // 0.1 s at 30 frames a second is frame 3
  const double frame = std::floor(seconds * rate.frames / rate.seconds + kRounding);
  return static_cast<std::int32_t>(std::clamp<double>(frame, INT32_MIN, INT32_MAX));
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

}  // namespace quillmere::app
