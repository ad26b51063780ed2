#pragma once

#include <cstdint>
#include <type_traits>

#include "image/image.h"

namespace quillmere::image {

// Values within 0-1, with what isn't a number taken as black.
inline float clampToUnit(float value) {
  return value > 0.0F ? (value < 1.0F ? value : 1.0F) : 0.0F;
}

// A value that lies within T, rounded to nearest. By way of int, which vector units convert to at once; they can't with
// unsigned types.
template <class T>
T rounded(float value) {
  constexpr float kHalf = 0.5F;
  return static_cast<T>(static_cast<int>(value + kHalf));
}

template <class T>
inline constexpr float kWhite = std::is_same_v<T, std::uint8_t>    ? 255.0F
                                : std::is_same_v<T, std::uint16_t> ? 65535.0F
                                                                   : 1.0F;

// One sample as another type, rounded to nearest; the same white and black in all of them.
template <class To, class From>
To sampleAs(From value) {
  if constexpr (std::is_same_v<To, From>) {
    return value;
  } else if constexpr (std::is_same_v<To, float>) {
    return static_cast<float>(value) / kWhite<From>;
  } else if constexpr (std::is_same_v<From, float>) {
    return rounded<To>(clampToUnit(value) * kWhite<To>);
  } else if constexpr (std::is_same_v<To, std::uint16_t>) {
    return static_cast<std::uint16_t>(value * 257);
  } else {
    return static_cast<std::uint8_t>((value * 255U + 32895U) >> 16U);
  }
}

// The same pixels with other samples; Byte 255, Word 65535 and Float 1.0 are the same white. Float made into
// the others is clamped to 0-1, and not-a-number is black. A picture that is so already keeps its values.
Image convert(const Image& picture, Sample sample);
// The same pixels with 1 to 4 channels: grey is spread or taken as Rec. 709 luma, a missing alpha is opaque.
Image withChannels(const Image& picture, int channels);
Image withChannels(Image&& picture, int channels);  // copies nothing where nothing changes

// Light from sRGB's values (IEC 61966-2-1), as Float, with colours multiplied with alpha. Values beyond 0-1 follow the
// curve, negative ones mirrored.
Image premultipliedLight(const Image& picture);

}  // namespace quillmere::image
