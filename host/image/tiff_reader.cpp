#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include "decoding.h"
#include "scaling.h"
#include "tiff_samples.h"

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

void findAlpha(TIFF* file, TiffLayout& layout) {
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
std::optional<TiffLayout> plainLayout(TIFF* file, std::uint32_t width, std::uint32_t height) {
  const auto photometric = field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
  const auto format = field<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  const auto bits = field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE, 1);
  TiffLayout layout;
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
  if (const auto layout = plainLayout(file, width, height)) return readTiffSamples(file, *layout);
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
