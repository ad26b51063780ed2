#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfTileDescription.h>
#include <OpenEXR/ImfVersion.h>

#include <algorithm>
#include <array>
#include <new>
#include <set>
#include <stdexcept>
#include <vector>

#include "image/codecs.h"

namespace quillmere::image {

namespace {

// A file in memory, which outlives this.
class StreamReader : public Imf::IStream {
 public:
  explicit StreamReader(Bytes file) : IStream("picture"), file_(file) {}

  bool read(char to[], int count) override {
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    if (count < 0 || position_ > file_.size() || wanted > file_.size() - position_) {
      throw std::runtime_error("it ends too early");
    }
    std::copy_n(file_.data() + position_, wanted, reinterpret_cast<std::uint8_t*>(to));
    position_ += wanted;
    return position_ < file_.size();
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }

 private:
  Bytes file_;
  std::uint64_t position_ = 0;
};

constexpr std::size_t kHeaderStart = 8;  // after the magic number and the version

std::uint32_t littleEndian(Bytes file, std::size_t at) {
  if (file.size() < 4 || at > file.size() - 4) throwDamaged("it ends within its header");
  return static_cast<std::uint32_t>(file[at] | file[at + 1] << 8U | file[at + 2] << 16U) |
         static_cast<std::uint32_t>(file[at + 3]) << 24U;
}

// The place behind the zero that ends the text at `at`.
std::size_t behindText(Bytes file, std::size_t at) {
  while (at < file.size() && file[at] != 0) ++at;
  if (at >= file.size()) throwDamaged("it ends within its header");
  return at + 1;
}

// The library takes as much memory as an attribute claims, without a look at what there is.
void checkAttributeSizes(Bytes file, bool multiPart) {
  std::size_t at = kHeaderStart;
  do {
    for (std::size_t next = behindText(file, at); next != at + 1; next = behindText(file, at)) {
      const std::size_t size = behindText(file, next);
      const std::size_t length = littleEndian(file, size);
      if (length > file.size() - size - 4) throwDamaged("an attribute of its header ends beyond the file");
      at = size + 4 + length;
    }
    ++at;
  } while (multiPart && at < file.size() && file[at] != 0);
}

std::uint64_t checkedSide(std::int64_t from, std::int64_t to) {
  if (to < from) throwDamaged("its window is empty");
  const std::int64_t side = to - from + 1;
  if (side > kMaxSide) throwUnsupported("its window has a side of " + std::to_string(side) + " pixels");
  return static_cast<std::uint64_t>(side);
}

void checkChunks(const Imf::Header& header) {
  std::uint64_t pixelBytes = 0;
  const Imf::ChannelList& channels = header.channels();
  for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
    pixelBytes += channel.channel().type == Imf::HALF ? 2 : 4;
  }
  const Imath::Box2i& window = header.dataWindow();
  const std::uint64_t width = checkedSide(window.min.x, window.max.x);
  checkedSide(window.min.y, window.max.y);
  const std::uint64_t rows = header.compression() == Imf::DWAB_COMPRESSION ? 256 : 32;
  std::uint64_t chunk = width * rows * pixelBytes;
  if (header.hasTileDescription()) {
    const Imf::TileDescription& tile = header.tileDescription();
    if (tile.xSize > kMaxSide || tile.ySize > kMaxSide) throwDamaged("its tiles are larger than a picture may be");
    chunk = std::max(width, std::uint64_t{tile.xSize}) * tile.ySize * pixelBytes;
  }
  if (chunk > kMaxPictureBytes) throwUnsupported("its channels and tiles take more than 1 GiB at a time");
}

// The header of the first part of an EXR file, after checks that the library leaves out before it takes memory:
// attributes lie inside the file, windows within kMaxSide, chunks within kMaxPictureBytes.
// Throws Error, or what the library throws.
Imf::Header checkedHeader(Bytes file) {
  int version = static_cast<int>(littleEndian(file, kHeaderStart - 4));
  if (Imf::isNonImage(version)) throwUnsupported("it holds deep data");
  checkAttributeSizes(file, Imf::isMultiPart(version));
  StreamReader stream(file);
  stream.seekg(kHeaderStart);
  Imf::Header header;
  header.readFrom(stream, version);
  checkChunks(header);
  const Imath::Box2i& shown = header.displayWindow();
  checkedSide(shown.min.x, shown.max.x);
  checkedSide(shown.min.y, shown.max.y);
  return header;
}

constexpr int kBandRows = 32;  // read at a time: a chunk of most compressions

using Names = std::vector<std::string>;

Names presentNames(const Imf::ChannelList& channels, const std::string& layer) {
  const auto has = [&](const char* name) { return channels.findChannel(layer + name) != nullptr; };
  Names names;
  if (has("R") && has("G") && has("B"))
    names = {layer + "R", layer + "G", layer + "B"};
  else if (has("Y"))
    names = {layer + "Y"};
  if (!names.empty() && has("A")) names.push_back(layer + "A");
  return names;
}

// The channels that make the picture: the plain ones, else those of the first layer that has colours, else the only
// one.
Names pictureChannels(const Imf::ChannelList& channels) {
  std::set<std::string> layers;
  channels.layers(layers);
  Names names = presentNames(channels, "");
  for (auto layer = layers.begin(); names.empty() && layer != layers.end(); ++layer) {
    names = presentNames(channels, *layer + ".");
  }
  std::string all;
  int count = 0;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel, ++count) {
    if (count < 8) all += (all.empty() ? "" : ", ") + std::string(channel.name());
  }
  if (names.empty() && count == 1) names = {all};
  if (names.empty()) throwUnsupported("it has neither R, G, B nor Y among its channels (" + all + ")");
  return names;
}

bool hasChroma(const Imf::ChannelList& channels) {
  return channels.findChannel("Y") != nullptr && channels.findChannel("RY") != nullptr &&
         channels.findChannel("BY") != nullptr;
}

// The part of the data window that is shown; the picture is as large as the display window, zero where there is no
// data.
Imath::Box2i shownData(const Imf::Header& header) {
  const Imath::Box2i &data = header.dataWindow(), &shown = header.displayWindow();
  Imath::Box2i both({std::max(data.min.x, shown.min.x), std::max(data.min.y, shown.min.y)},
                    {std::min(data.max.x, shown.max.x), std::min(data.max.y, shown.max.y)});
  if (both.isEmpty()) throwUnsupported("its data lies outside the part that is to be shown");
  return both;
}

// Calls readBand(first, last) for the rows that are shown, then takeRow(y, row of the picture) for each of them.
template <class ReadBand, class TakeRow>
void readShownRows(const Imf::Header& header, Image& picture, ReadBand&& readBand, TakeRow&& takeRow) {
  const Imath::Box2i both = shownData(header);
  const int left = both.min.x - header.displayWindow().min.x;
  for (int first = both.min.y; first <= both.max.y; first += kBandRows) {
    const int last = std::min(first + kBandRows - 1, both.max.y);
    readBand(first, last);
    for (int y = first; y <= last; ++y) {
      takeRow(y - first, picture.pixel<float>(left, y - header.displayWindow().min.y));
    }
  }
}

Image emptyPicture(const Imf::Header& header, int channels) {
  const Imath::V2i size = header.displayWindow().size();
  return pictureOfClaimedSize(static_cast<std::uint64_t>(size.x) + 1, static_cast<std::uint64_t>(size.y) + 1, channels,
                              Sample::Float);
}

Image readChannels(StreamReader& stream, const Imf::Header& header, const Names& names) {
  const int channels = static_cast<int>(names.size());
  Image picture = emptyPicture(header, channels);
  Imf::InputFile file(stream, 0);
  const Imath::Box2i &data = header.dataWindow(), shown = shownData(header);
  const int width = data.max.x - data.min.x + 1;
  const std::size_t pixel = names.size() * sizeof(float), row = static_cast<std::size_t>(width) * pixel;
  std::vector<float> band(static_cast<std::size_t>(width) * names.size() * kBandRows);
  const auto readBand = [&](int first, int last) {
    Imf::FrameBuffer buffer;
    for (std::size_t c = 0; c < names.size(); ++c) {
      if (const auto* channel = header.channels().findChannel(names[c]);
          channel->xSampling != 1 || channel->ySampling != 1) {
        throwUnsupported("its channel " + names[c] + " has fewer samples than the picture has pixels");
      }
      buffer.insert(names[c], Imf::Slice::Make(Imf::FLOAT, band.data() + c, {data.min.x, first}, width,
                                               last - first + 1, pixel, row));
    }
    file.setFrameBuffer(buffer);
    file.readPixels(first, last);
  };
  const std::ptrdiff_t skipped = static_cast<std::ptrdiff_t>(shown.min.x - data.min.x) * channels;
  const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(shown.max.x - shown.min.x + 1) * channels;
  readShownRows(header, picture, readBand, [&](int bandRow, float* to) {
    std::copy_n(band.data() + static_cast<std::ptrdiff_t>(bandRow) * width * channels + skipped, count, to);
  });
  return picture;
}

// Luminance with colour differences at a quarter of the pixels, which the library turns into RGBA.
Image readChroma(StreamReader& stream, const Imf::Header& header) {
  const int channels = header.channels().findChannel("A") != nullptr ? 4 : 3;
  Image picture = emptyPicture(header, channels);
  Imf::RgbaInputFile file(stream, 0);
  const Imath::Box2i &data = header.dataWindow(), shown = shownData(header);
  const int width = data.max.x - data.min.x + 1;
  std::vector<Imf::Rgba> band(static_cast<std::size_t>(width) * kBandRows);
  const auto readBand = [&](int first, int last) {
    // The library counts from the pixel 0, 0, wherever that is.
    file.setFrameBuffer(band.data() - data.min.x - static_cast<std::ptrdiff_t>(first) * width, 1,
                        static_cast<std::size_t>(width));
    file.readPixels(first, last);
  };
  readShownRows(header, picture, readBand, [&](int bandRow, float* to) {
    const Imf::Rgba* from = band.data() + static_cast<std::ptrdiff_t>(bandRow) * width + (shown.min.x - data.min.x);
    for (int x = shown.min.x; x <= shown.max.x; ++x, ++from, to += channels) {
      const std::array<float, 4> pixel = {from->r, from->g, from->b, from->a};
      std::copy_n(pixel.data(), channels, to);
    }
  });
  return picture;
}

}  // namespace

bool looksLikeExr(Bytes file) {
  return startsWith(file, "\x76\x2f\x31\x01");
}

Image decodeExr(Bytes file) {
  try {
    const Imf::Header header = checkedHeader(file);
    StreamReader stream(file);
    if (hasChroma(header.channels())) return readChroma(stream, header);
    return readChannels(stream, header, pictureChannels(header.channels()));
  } catch (const Error&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    throwDamaged(error.what());
  }
}

}  // namespace quillmere::image
