#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "image/exr_layers.h"
#include "image/image.h"

// The single file formats. What reads or writes them throws Error with the reason and the remedy only, or whatever the
// format's library throws; file_formats.cpp puts the picture's name in front.
namespace quillmere::image {

using Bytes = std::span<const std::uint8_t>;

// Each tells its format by the first bytes, and reads it.
bool looksLikePng(Bytes file);
Image decodePng(Bytes file);
bool looksLikeJpeg(Bytes file);
Image decodeJpeg(Bytes file);
bool looksLikeWebp(Bytes file);
Image decodeWebp(Bytes file);
bool looksLikeTiff(Bytes file);
Image decodeTiff(Bytes file);
bool looksLikeExr(Bytes file);
Image decodeExr(Bytes file);
bool looksLikeHdr(Bytes file);
Image decodeHdr(Bytes file);

// The first text under `keyword` before the pixels of a PNG, of which the first kMaxHeadBytes are enough.
inline constexpr std::size_t kMaxHeadBytes = std::size_t{64} << 20U;
std::optional<std::string> textOfPng(Bytes file, const std::string& keyword);

// Write to a stream, whose own failures are left to be found there. `depth` is Byte or Word; no text is written without
// a keyword.
void encodePng(std::FILE* stream, const Image& picture, Sample depth, const std::string& keyword,
               const std::string& text);
// `colorSpace` is an ID of the Color Interop Forum (https://github.com/AcademySoftwareFoundation/ColorInterop) for
// values of Rec. 709 primaries.
void encodeExr(std::FILE* stream, const Image& picture, const char* colorSpace);
void encodeLayers(std::FILE* stream, const ExrLayers& layers, const char* colorSpace);

// What the readers share from here on.

// The most that the pixels of one picture, the file that holds it, and a library's own buffers may each take.
inline constexpr std::size_t kMaxPictureBytes = std::size_t{1} << 30U;

// For the size that a file claims, before a library takes memory for it. Throws Error when a side is zero or beyond
// kMaxSide.
void checkClaimedSize(std::uint64_t width, std::uint64_t height);
// A picture of that size. Throws Error as the check does, or when it takes more than kMaxPictureBytes.
Image pictureOfClaimedSize(std::uint64_t width, std::uint64_t height, int channels, Sample sample,
                           Filling filling = Filling::Zero);

// Throws Error: the file breaks its format's rules or ends early. `reason` may be a library's own words.
[[noreturn]] void throwDamaged(const std::string& reason);
// Throws Error: the file may be right, but holds what we don't read.
[[noreturn]] void throwUnsupported(const std::string& reason);

// Whether `file` starts with the characters of `start`.
bool startsWith(Bytes file, std::string_view start);

}  // namespace quillmere::image
