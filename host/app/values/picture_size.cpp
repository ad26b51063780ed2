#include "picture_size.h"

#include <charconv>

#include "failure.h"
#include "image/image.h"

namespace quillmere::app {

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

}  // namespace quillmere::app
