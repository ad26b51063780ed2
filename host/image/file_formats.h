#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "image/exr_layers.h"
#include "image/image.h"

// Pictures in files. All of these throw Error, which names the file.
namespace quillmere::image {

// Reads a PNG, JPEG, WebP, TIFF, EXR or HDR (Radiance) file, told apart by its content, never by its name. Palettes and
// packed bits are expanded; 16-bit sources give Word, EXR, HDR and float TIFF give Float, everything else Byte. Nothing
// is turned as a camera's metadata asks, since the textures of a scene must stay as they are stored. The values of EXR
// and HDR files are given as they stand: linear light where they hold that, colours multiplied by alpha where they are.
// Of an animation or a file of several pictures the first is taken. A file that ends early is refused.
// Hostile input gives an Error, never a crash and never more than about 2 GiB.
Image read(const std::filesystem::path& file);

// The same from memory; `name` stands for the picture in messages.
Image decode(std::span<const std::uint8_t> bytes, const std::string& name);

// The text (UTF-8) that stands under `keyword` before the pixels of a PNG file, in a chunk of any of the three kinds;
// of several the first. None when the file is no PNG or has none. A text may have up to 32 MiB when it is unpacked, and
// of more than 16 texts the later ones don't count. What comes with or after the pixels is not looked at.
std::optional<std::string> pngText(const std::filesystem::path& file, const std::string& keyword);

enum class PngDepth { As8Bit, As16Bit };

// A text (UTF-8) that a PNG carries before its pixels; none when the keyword is empty.
struct PngText {
  std::string keyword;  // 1 to 79 letters of ASCII
  std::string text;
};

enum class ExrEncoding { Linear, Srgb };

// Both write beside the target and rename, so that a reader meets the old file or the whole new one, and leave
// nothing behind on failure. PNG takes any picture and converts its samples; Float is clamped to 0-1. It says that the
// values are sRGB's (sRGB, gAMA, cHRM).
void writePng(const std::filesystem::path& file, const Image& picture, PngDepth depth = PngDepth::As8Bit,
              const PngText& text = {});
// 32-bit float scan-line EXR with the channels R, G, B (and A when there are 2 or 4), which says what its values are
// (chromaticities, colorInteropID). Linear: sRGB's values are decoded to light, and colours multiplied with alpha, as
// compositors expect; what is beyond 0-1 follows the same curve. Srgb: values are stored as they stand.
void writeExr(const std::filesystem::path& file, const Image& picture, ExrEncoding encoding = ExrEncoding::Linear);
// The same for several layers; R, G and B are light of the primaries that sRGB has.
void writeExr(const std::filesystem::path& file, const ExrLayers& layers);

}  // namespace quillmere::image
