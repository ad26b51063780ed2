#include "image/codecs.h"

#include <algorithm>

#include "base/utf8.h"

namespace quillmere::image {

namespace {

constexpr std::size_t sampleBytes(Sample sample) {
  return sample == Sample::Byte ? 1 : sample == Sample::Word ? 2 : 4;
}

std::string sizeText(std::uint64_t width, std::uint64_t height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

// Libraries may end their messages with full stops; file contents may be quoted in them.
std::string clauseOf(const std::string& message) {
  std::string text = printable(message);
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
  return text.empty() ? "it is damaged" : text;
}

}  // namespace

void checkClaimedSize(std::uint64_t width, std::uint64_t height) {
  if (width == 0 || height == 0) throwDamaged("it claims " + sizeText(width, height));
  if (width <= kMaxSide && height <= kMaxSide) return;
  throw Error("it has " + sizeText(width, height) + "; scale it to at most " + std::to_string(kMaxSide) + " a side");
}

Image pictureOfClaimedSize(std::uint64_t width, std::uint64_t height, int channels, Sample sample, Filling filling) {
  checkClaimedSize(width, height);
  if (width * height * static_cast<std::uint64_t>(channels) * sampleBytes(sample) > kMaxPictureBytes) {
    throw Error("its " + sizeText(width, height) + " take more than 1 GiB; scale it down or store it with 8 bits");
  }
  return {static_cast<int>(width), static_cast<int>(height), channels, sample, filling};
}

void throwDamaged(const std::string& reason) {
  throw Error(clauseOf(reason) + "; export or copy the file again");
}

void throwUnsupported(const std::string& reason) {
  throw Error(clauseOf(reason) + "; convert it to a plain PNG");
}

bool startsWith(Bytes file, std::string_view start) {
  return file.size() >= start.size() &&
         std::equal(start.begin(), start.end(), file.begin(),
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

}  // namespace quillmere::image
