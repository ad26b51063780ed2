#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <array>
#include <new>
#include <set>
#include <vector>

#include "decoding.h"
#include "exr_header.h"
#include "exr_stream.h"

namespace quillmere::image {

namespace {

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

Image readChannels(ExrStream& stream, const Imf::Header& header, const Names& names) {
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
Image readChroma(ExrStream& stream, const Imf::Header& header) {
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
    const Imf::Header header = checkedExrHeader(file);
    ExrStream stream(file);
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
