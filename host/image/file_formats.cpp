#include "image/file_formats.h"

#include <new>

#include "base/atomic_file.h"
#include "base/file_reading.h"
#include "image/codecs.h"
#include "image/conversion.h"

namespace quillmere::image {

namespace fs = std::filesystem;

namespace {

constexpr const char* kLinear = "lin_rec709_scene";  // see encodeExr

struct Format {
  bool (*matches)(Bytes file);
  Image (*decode)(Bytes file);
};

constexpr Format kFormats[] = {
    {looksLikePng, decodePng},   {looksLikeJpeg, decodeJpeg}, {looksLikeWebp, decodeWebp},
    {looksLikeTiff, decodeTiff}, {looksLikeExr, decodeExr},   {looksLikeHdr, decodeHdr},
};

Image decodeAny(Bytes file) {
  if (file.empty()) throwDamaged("it is empty");
  for (const Format& format : kFormats) {
    if (format.matches(file)) return format.decode(file);
  }
  throw Error("it is neither PNG, JPEG, WebP, TIFF, EXR nor HDR; convert it to PNG");
}

enum class Part { Whole, Head };

std::vector<std::uint8_t> contentOf(const fs::path& file, Part part = Part::Whole) {
  try {
    return part == Part::Head ? readStart(file, kMaxHeadBytes) : readBytes(file, kMaxPictureBytes);
  } catch (const Error& error) {
    throw Error(std::string(error.what()) + "; name another picture");
  }
}

// The one place where what goes wrong while reading gets the picture's name.
template <class Work>
auto reading(const std::string& name, Work&& work) {
  const std::string refusal = "cannot read picture '" + name + "': ";
  try {
    return work();
  } catch (const Error& error) {
    throw Error(refusal + error.what());
  } catch (const std::bad_alloc&) {
    throw Error(refusal + "there is not enough memory; scale it down");
  }
}

// And the one for writing.
template <class Encode>
void write(const fs::path& file, const Image& picture, Encode&& encode) {
  const std::string refusal = "cannot write '" + file.string() + "': ";
  if (picture.empty()) throw Error(refusal + "the picture is empty; give it pixels first");
  AtomicFile target(file);
  try {
    encode(target.stream());
  } catch (const std::bad_alloc&) {
    throw Error(refusal + "there is not enough memory; make the picture smaller");
  } catch (const std::exception& error) {
    throw Error(refusal + error.what() + "; make the picture smaller");
  }
  target.commit();
}

}  // namespace

Image read(const fs::path& file) {
  return reading(file.string(), [&] { return decodeAny(contentOf(file)); });
}

Image decode(std::span<const std::uint8_t> bytes, const std::string& name) {
  return reading(name, [&] { return decodeAny(bytes); });
}

std::optional<std::string> pngText(const fs::path& file, const std::string& keyword) {
  return reading(file.string(), [&] { return textOfPng(contentOf(file, Part::Head), keyword); });
}

void writePng(const fs::path& file, const Image& picture, PngDepth depth, const PngText& text) {
  const Sample sample = depth == PngDepth::As16Bit ? Sample::Word : Sample::Byte;
  write(file, picture, [&](std::FILE* to) { encodePng(to, picture, sample, text.keyword, text.text); });
}

void writeExr(const fs::path& file, const Image& picture, ExrEncoding encoding) {
  const bool linear = encoding == ExrEncoding::Linear;
  write(file, picture, [&](std::FILE* to) {
    encodeExr(to, linear ? premultipliedLight(picture) : picture, linear ? kLinear : "srgb_rec709_display");
  });
}

void writeExr(const fs::path& file, const ExrLayers& layers) {
  write(file, *layers.channels.front().plane, [&](std::FILE* to) { encodeLayers(to, layers, kLinear); });
}

}  // namespace quillmere::image
