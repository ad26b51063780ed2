#include "tiff_samples.h"

#include <Imath/half.h>

#include <algorithm>
#include <vector>

#include "decoding.h"
#include "sample_values.h"

namespace quillmere::image {

namespace {

// Where a run of samples comes from and goes to.
struct Run {
  const std::uint8_t* from;
  int fromStep;  // samples
  int x, y, channel, count;
};

template <class Stored, class T>
void copyRun(const Run& run, Image& picture) {
  const int step = picture.channels();
  const Stored* from = reinterpret_cast<const Stored*>(run.from);
  T* to = picture.pixel<T>(run.x, run.y) + run.channel;
  for (int i = 0; i < run.count; ++i, from += run.fromStep, to += step) *to = static_cast<T>(*from);
}

void copyRun(const TiffLayout& layout, const Run& run, Image& picture) {
  if (!layout.floating)
    return layout.bytes == 1 ? copyRun<std::uint8_t, std::uint8_t>(run, picture)
                             : copyRun<std::uint16_t, std::uint16_t>(run, picture);
  switch (layout.bytes) {
    case 2:
      return copyRun<Imath::half, float>(run, picture);
    case 4:
      return copyRun<float, float>(run, picture);
    default:
      return copyRun<double, float>(run, picture);
  }
}

// The sample in the file that channel `c` of the picture comes from.
int storedSample(const TiffLayout& layout, int c) {
  return c < layout.colors ? c : layout.alpha.value_or(0);
}

// Copies one line of `count` pixels at x, y, with all its samples, or with those of one plane.
void copyLine(const TiffLayout& layout, const std::uint8_t* line, int plane, int x, int y, int count, Image& picture) {
  for (int c = 0; c < picture.channels(); ++c) {
    const int sample = storedSample(layout, c);
    if (layout.planes && sample != plane) continue;
    const int offset = layout.planes ? 0 : sample * layout.bytes;
    copyRun(layout, {line + offset, layout.planes ? 1 : layout.stored, x, y, c, count}, picture);
  }
}

void checkBuffer(std::uint64_t size, std::uint64_t needed) {
  if (size < needed) throwDamaged("its rows are shorter than its width");
  if (size > kMaxPictureBytes) throwUnsupported("its tiles or rows take more than 1 GiB");
}

std::uint64_t lineBytes(const TiffLayout& layout, std::uint64_t width) {
  return width * static_cast<std::uint64_t>(layout.bytes) *
         static_cast<std::uint64_t>(layout.planes ? 1 : layout.stored);
}

void readRows(TIFF* file, const TiffLayout& layout, int plane, Image& picture) {
  const std::uint64_t size = TIFFScanlineSize64(file);
  checkBuffer(size, lineBytes(layout, static_cast<std::uint64_t>(layout.width)));
  std::vector<std::uint8_t> line(size);
  for (int y = 0; y < layout.height; ++y) {
    if (TIFFReadScanline(file, line.data(), static_cast<std::uint32_t>(y), static_cast<std::uint16_t>(plane)) < 0) {
      throwDamaged("its row " + std::to_string(y) + " can't be read");
    }
    copyLine(layout, line.data(), plane, 0, y, layout.width, picture);
  }
}

void readTiles(TIFF* file, const TiffLayout& layout, int plane, Image& picture) {
  std::uint32_t tileWidth = 0, tileHeight = 0;
  TIFFGetField(file, TIFFTAG_TILEWIDTH, &tileWidth);
  TIFFGetField(file, TIFFTAG_TILELENGTH, &tileHeight);
  // Both are multiples of 16 and rarely above 512; the sides are checked so that the product can't run over.
  if (tileWidth == 0 || tileHeight == 0 || tileWidth > 4U * kMaxSide || tileHeight > 4U * kMaxSide) {
    throwDamaged("its tiles have an impossible size");
  }
  const std::uint64_t size = TIFFTileSize64(file), row = lineBytes(layout, tileWidth);
  checkBuffer(size, row * tileHeight);
  std::vector<std::uint8_t> tile(size);
  const int across = static_cast<int>(tileWidth), down = static_cast<int>(tileHeight);
  for (int top = 0; top < layout.height; top += down) {
    for (int left = 0; left < layout.width; left += across) {
      if (TIFFReadTile(file, tile.data(), static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top), 0,
                       static_cast<std::uint16_t>(plane)) < 0) {
        throwDamaged("its tile at " + std::to_string(left) + ", " + std::to_string(top) + " can't be read");
      }
      const int count = std::min(across, layout.width - left);
      for (int y = top; y < std::min(top + down, layout.height); ++y) {
        copyLine(layout, tile.data() + static_cast<std::size_t>(y - top) * row, plane, left, y, count, picture);
      }
    }
  }
}

void invertColors(Image& picture) {
  withSampleType(picture.sample(), [&](auto type) {
    using T = decltype(type);
    const int channels = picture.channels();
    for (int y = 0; y < picture.height(); ++y) {
      T* sample = picture.row<T>(y);
      for (int x = 0; x < picture.width(); ++x, sample += channels) *sample = static_cast<T>(T(kWhite<T>) - *sample);
    }
  });
}

}  // namespace

Image readTiffSamples(TIFF* file, const TiffLayout& layout) {
  const Sample sample = layout.floating ? Sample::Float : layout.bytes == 2 ? Sample::Word : Sample::Byte;
  Image picture =
      pictureOfClaimedSize(static_cast<std::uint64_t>(layout.width), static_cast<std::uint64_t>(layout.height),
                           layout.colors + (layout.alpha ? 1 : 0), sample);
  const auto readPlane = layout.tiled ? readTiles : readRows;
  for (int c = 0; c < (layout.planes ? picture.channels() : 1); ++c) {
    readPlane(file, layout, layout.planes ? storedSample(layout, c) : 0, picture);
  }
  if (layout.whiteIsZero) invertColors(picture);
  if (layout.alpha && layout.alphaMultiplied) divideByAlpha(picture);
  return picture;
}

void divideByAlpha(Image& picture) {
  const int channels = picture.channels();
  withSampleType(picture.sample(), [&](auto type) {
    using T = decltype(type);
    for (int y = 0; y < picture.height(); ++y) {
      T* pixel = picture.row<T>(y);
      for (int x = 0; x < picture.width(); ++x, pixel += channels) {
        const float alpha = sampleAs<float>(pixel[channels - 1]);
        if (alpha <= 0.0F || alpha >= 1.0F) continue;
        for (int c = 0; c < channels - 1; ++c) {
          const float color = sampleAs<float>(pixel[c]) / alpha;
          pixel[c] = sampleAs<T>(color);
        }
      }
    }
  });
}

}  // namespace quillmere::image
