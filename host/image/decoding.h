#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "image.h"

// What the readers of the single formats share. They throw Error with the reason and the remedy only; decode() puts
// the picture's name in front.
namespace quillmere::image {

using Bytes = std::span<const std::uint8_t>;

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

// Whether `file` starts with the characters of `start`.
bool startsWith(Bytes file, std::string_view start);

}  // namespace quillmere::image
