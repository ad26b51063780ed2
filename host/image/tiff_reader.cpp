#include <Imath/half.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "image/codecs.h"
#include "image/conversion.h"

namespace quillmere::image {

namespace {

// A file in memory as the library wants it, and the first error that it told.
struct Source {
  Bytes file;
  std::uint64_t position = 0;
  std::string message = {};
};

Source& sourceOf(thandle_t handle) {
  return *static_cast<Source*>(handle);
}

tmsize_t readSome(thandle_t handle, void* to, tmsize_t wanted) {
  Source& source = sourceOf(handle);
  if (wanted <= 0 || source.position >= source.file.size()) return 0;
  const std::size_t count = std::min(static_cast<std::size_t>(wanted), source.file.size() - source.position);
  std::memcpy(to, source.file.data() + source.position, count);
  source.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t refuseWrite(thandle_t, void*, tmsize_t) {
  return 0;
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
  Source& source = sourceOf(handle);
  const std::uint64_t start = whence == SEEK_CUR ? source.position : whence == SEEK_END ? source.file.size() : 0;
  return source.position = start + offset;
}

int keepOpen(thandle_t) {
  return 0;
}

toff_t sizeOf(thandle_t handle) {
  return sourceOf(handle).file.size();
}

__attribute__((format(printf, 2, 0))) void note(Source& source, const char* format, va_list values) {
  char text[256];
  std::vsnprintf(text, sizeof(text), format, values);
  if (source.message.empty()) source.message = text;
}

__attribute__((format(printf, 4, 0))) int noteError(TIFF*, void* source, const char*, const char* format,
                                                    va_list values) {
  note(*static_cast<Source*>(source), format, values);
  return 1;
}

// The library goes on without what lies beyond the end of a file, so that a palette becomes greys.
__attribute__((format(printf, 4, 0))) int noteShortFile(TIFF*, void* source, const char*, const char* format,
                                                        va_list values) {
  if (std::strncmp(format, "IO error", 8) == 0) note(*static_cast<Source*>(source), format, values);
  return 1;
}

struct CloseTiff {
  void operator()(TIFF* file) const { TIFFClose(file); }
};
using OpenTiff = std::unique_ptr<TIFF, CloseTiff>;

OpenTiff open(Source& source) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                 TIFFOpenOptionsFree);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(kMaxPictureBytes));
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, &source);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), noteShortFile, &source);
  OpenTiff file(TIFFClientOpenExt("picture", "rm", &source, readSome, refuseWrite, seek, keepOpen, sizeOf, nullptr,
                                  nullptr, options.get()));
  if (file == nullptr) throwDamaged(source.message);
  return file;
}

template <class T>
T field(TIFF* file, std::uint32_t tag, T otherwise) {
  T value = otherwise;
  TIFFGetFieldDefaulted(file, tag, &value);
  return value;
}

// How the samples lie in a TIFF file that needs no colour conversion.
struct Layout {
  int width = 0, height = 0;
  int bytes = 1;          // of a sample in the file
  bool floating = false;  // otherwise unsigned
  bool whiteIsZero = false;
  bool planes = false;  // one after the other, otherwise interleaved
  bool tiled = false;
  int stored = 1;                // samples a pixel in the file
  int colors = 1;                // of which the first 1 or 3 are colours
  std::optional<int> alpha;      // and this one alpha, with which the colours
  bool alphaMultiplied = false;  // may have been multiplied
};

void findAlpha(TIFF* file, Layout& layout) {
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(file, TIFFTAG_EXTRASAMPLES, &count, &kinds);
  for (int i = 0; i < count && layout.colors + i < layout.stored; ++i) {
    if (kinds[i] == EXTRASAMPLE_UNSPECIFIED) continue;
    layout.alpha = layout.colors + i;
    layout.alphaMultiplied = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
    return;
  }
}

// None where colours must be converted or bits unpacked.
std::optional<Layout> plainLayout(TIFF* file, std::uint32_t width, std::uint32_t height) {
  const auto photometric = field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
  const auto format = field<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  const auto bits = field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE, 1);
  Layout layout;
  layout.width = static_cast<int>(width);
  layout.height = static_cast<int>(height);
  layout.bytes = bits / 8;
  layout.floating = format == SAMPLEFORMAT_IEEEFP;
  layout.whiteIsZero = photometric == PHOTOMETRIC_MINISWHITE;
  layout.planes = field<std::uint16_t>(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
  layout.tiled = TIFFIsTiled(file) != 0;
  layout.stored = field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL, 1);
  layout.colors = photometric == PHOTOMETRIC_RGB ? 3 : 1;
  const bool plainColors =
      layout.whiteIsZero || photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_RGB;
  const bool plainSamples = layout.floating ? bits == 16 || bits == 32 || bits == 64
                                            : format != SAMPLEFORMAT_INT && (bits == 8 || bits == 16);
  const bool oldJpeg = field<std::uint16_t>(file, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == COMPRESSION_OJPEG;
  if (!plainColors || !plainSamples || oldJpeg || layout.stored < layout.colors) return std::nullopt;
  findAlpha(file, layout);
  return layout;
}

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

void copyRun(const Layout& layout, const Run& run, Image& picture) {
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
int storedSample(const Layout& layout, int c) {
  return c < layout.colors ? c : layout.alpha.value_or(0);
}

// Copies one line of `count` pixels at x, y, with all its samples, or with those of one plane.
void copyLine(const Layout& layout, const std::uint8_t* line, int plane, int x, int y, int count, Image& picture) {
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

std::uint64_t lineBytes(const Layout& layout, std::uint64_t width) {
  return width * static_cast<std::uint64_t>(layout.bytes) *
         static_cast<std::uint64_t>(layout.planes ? 1 : layout.stored);
}

void readRows(TIFF* file, const Layout& layout, int plane, Image& picture) {
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

void readTiles(TIFF* file, const Layout& layout, int plane, Image& picture) {
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

// Calls `work` with the first sample of each pixel.
template <class Work>
void forEachPixel(Image& picture, Work&& work) {
  withSampleType(picture.sample(), [&]<class T>(T) {
    T* pixel = picture.row<T>(0);
    const T* const end = pixel + std::ptrdiff_t{picture.width()} * picture.height() * picture.channels();
    for (; pixel != end; pixel += picture.channels()) work(pixel);
  });
}

void invertColors(Image& picture) {
  forEachPixel(picture, []<class T>(T* sample) { *sample = static_cast<T>(T(kWhite<T>) - *sample); });
}

// Takes the multiplication by the last channel, alpha, back.
void divideByAlpha(Image& picture) {
  const int colors = picture.channels() - 1;
  forEachPixel(picture, [colors]<class T>(T* pixel) {
    const float alpha = sampleAs<float>(pixel[colors]);
    if (alpha <= 0.0F || alpha >= 1.0F) return;
    for (int c = 0; c < colors; ++c) pixel[c] = sampleAs<T>(sampleAs<float>(pixel[c]) / alpha);
  });
}

// The picture that `file`, whose sizes have been checked, holds in that layout. The reason of an Error may come from
// the library's error handler instead.
Image readSamples(TIFF* file, const Layout& layout) {
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

// Palettes, packed bits and other colour spaces, by the library's own conversion to 8-bit RGBA.
Image readConverted(TIFF* file, std::uint32_t width, std::uint32_t height) {
  char reason[1024] = "";
  if (TIFFRGBAImageOK(file, reason) == 0) throwUnsupported(reason);
  if (TIFFIsTiled(file) != 0 && TIFFTileSize64(file) > kMaxPictureBytes)
    throwUnsupported("its tiles take more than 1 GiB");
  Image picture = pictureOfClaimedSize(width, height, 4, Sample::Byte);
  // Rows are taken as they are stored, like those of every other format.
  TIFFSetField(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  auto* pixels = reinterpret_cast<std::uint32_t*>(picture.row<std::uint8_t>(0));
  if (TIFFReadRGBAImageOriented(file, width, height, pixels, ORIENTATION_TOPLEFT, 1) == 0) {
    throwDamaged("its pixels can't be read");
  }
  std::uint8_t* samples = picture.row<std::uint8_t>(0);
  for (std::size_t i = 0; i < std::size_t{width} * height; ++i, samples += 4) {
    std::uint32_t packed = 0;
    std::memcpy(&packed, samples, sizeof(packed));
    const std::uint32_t channels[] = {TIFFGetR(packed), TIFFGetG(packed), TIFFGetB(packed), TIFFGetA(packed)};
    std::copy_n(channels, 4, samples);
  }
  divideByAlpha(picture);
  std::uint16_t extra = 0;
  const std::uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(file, TIFFTAG_EXTRASAMPLES, &extra, &kinds);
  return withChannels(std::move(picture), extra == 0 ? 3 : 4);
}

Image readFirstPicture(TIFF* file) {
  const auto width = field<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH, 0);
  const auto height = field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH, 0);
  checkClaimedSize(width, height);
  if (const auto layout = plainLayout(file, width, height)) return readSamples(file, *layout);
  return readConverted(file, width, height);
}

}  // namespace

bool looksLikeTiff(Bytes file) {
  using namespace std::string_view_literals;
  return startsWith(file, "II*\0"sv) || startsWith(file, "MM\0*"sv) || startsWith(file, "II+\0"sv) ||
         startsWith(file, "MM\0+"sv);
}

Image decodeTiff(Bytes file) {
  Source source{file};
  const OpenTiff opened = open(source);
  std::optional<Image> picture;
  try {
    picture = readFirstPicture(opened.get());
  } catch (const Error&) {
    // The library knows the reason better.
    if (source.message.empty()) throw;
  }
  if (!source.message.empty()) throwDamaged(source.message);
  return std::move(*picture);
}

}  // namespace quillmere::image
