#include <charconv>
#include <cmath>
#include <cstring>
#include <vector>

#include "image/codecs.h"

// Radiance's picture format: a header of lines, a line of the size, then scan lines of four bytes a pixel (red, green,
// blue and their common exponent), mostly run-length encoded (G. Ward, Real Pixels, Graphics Gems II, 1991;
// https://radsite.lbl.gov/radiance/refer/filefmts.pdf).
namespace quillmere::image {
namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr int kLeastEncoded = 8, kMostEncoded = 0x7FFF;  // width of lines whose four parts are encoded one by one

class HdrReader {
 public:
  explicit HdrReader(Bytes file) : rest_(file) {}

  Image read() {
    readHeader();
    const auto [width, height] = readSize();
    if (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) > rest_.size() * kMostPixelsOfByte) {
      throwDamaged("it is too short for the size that it claims");
    }
    Image picture = pictureOfClaimedSize(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), 3,
                                         Sample::Float, Filling::None);
    std::vector<std::uint8_t> line(static_cast<std::size_t>(width) * 4);
    for (int y = 0; y < height; ++y) {
      readLine(line);
      float* rgb = picture.row<float>(y);
      for (std::size_t x = 0; x < line.size(); x += 4, rgb += 3) {
        const float scale = line[x + 3] == 0 ? 0.0F : std::ldexp(1.0F, line[x + 3] - (128 + 8));
        for (std::size_t c = 0; c < 3; ++c) rgb[c] = (static_cast<float>(line[x + c]) + 0.5F) * scale;
      }
    }
    return picture;
  }

 private:
  static constexpr std::uint64_t kMostPixelsOfByte = 64;  // of two bytes for 127 equal values, four times

  std::string_view nextLine() {
    const std::string_view text(reinterpret_cast<const char*>(rest_.data()), std::min(rest_.size(), kLongestLine));
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) throwDamaged("its header has no end");
    rest_ = rest_.subspan(end + 1);
    return text.substr(0, end);
  }

  void readHeader() {
    for (std::string_view line = nextLine(); !line.empty(); line = nextLine()) {
      if (line.starts_with("FORMAT=") && line != "FORMAT=32-bit_rle_rgbe") {
        throwUnsupported("its format is '" + std::string(line.substr(7)) + "', not RGBE");
      }
    }
  }

  std::pair<int, int> readSize() {
    const std::string_view line = nextLine();
    int width = 0, height = 0;
    const std::size_t middle = line.find(" +X ");
    const auto number = [](std::string_view text, int& value) {
      const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
      return read.ec == std::errc{} && value > 0;
    };
    if (!line.starts_with("-Y ") || middle == std::string_view::npos || !number(line.substr(3, middle - 3), height) ||
        !number(line.substr(middle + 4), width)) {
      throwUnsupported("its lines don't run from the top left corner");
    }
    return {width, height};
  }

  const std::uint8_t* take(std::size_t count) {
    if (rest_.size() < count) throwDamaged("it ends too early");
    const std::uint8_t* bytes = rest_.data();
    rest_ = rest_.subspan(count);
    return bytes;
  }

  void readLine(std::vector<std::uint8_t>& line) {
    const std::size_t width = line.size() / 4;
    const std::uint8_t* start = take(4);
    const bool encoded = width >= kLeastEncoded && width <= kMostEncoded && start[0] == 2 && start[1] == 2 &&
                         (std::size_t{start[2]} << 8U | start[3]) == width;
    if (encoded) {
      for (std::size_t part = 0; part < 4; ++part) readPart(line, part);
    } else {
      std::memcpy(line.data(), start, 4);
      if (width > 1) std::memcpy(line.data() + 4, take(line.size() - 4), line.size() - 4);
    }
  }

  void readPart(std::vector<std::uint8_t>& line, std::size_t part) {
    for (std::size_t at = part; at < line.size();) {
      const std::uint8_t code = *take(1);
      const bool repeats = code > 128;
      const std::size_t count = repeats ? code - 128U : code;
      if (count == 0 || at + (count - 1) * 4 >= line.size()) throwDamaged("a line of it is longer than its width");
      const std::uint8_t* values = take(repeats ? 1 : count);
      for (std::size_t i = 0; i < count; ++i, at += 4) line[at] = values[repeats ? 0 : i];
    }
  }

  Bytes rest_;
};

}  // namespace

bool looksLikeHdr(Bytes file) {
  return startsWith(file, "#?RADIANCE") || startsWith(file, "#?RGBE");
}

Image decodeHdr(Bytes file) {
  return HdrReader(file).read();
}

}  // namespace quillmere::image
