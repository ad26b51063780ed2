#include <algorithm>
#include <cmath>

#include "sample_values.h"
#include "scaling.h"

namespace quillmere::image {

namespace {

template <class To, class From>
void convertRow(const From* __restrict from, To* __restrict to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] = sampleAs<To>(from[i]);
}

// Rec. 709, applied to the encoded values as they stand.
template <class T>
T luma(const T* rgb) {
  const float value = 0.2126F * static_cast<float>(rgb[0]) + 0.7152F * static_cast<float>(rgb[1]) +
                      0.0722F * static_cast<float>(rgb[2]);
  if constexpr (std::is_same_v<T, float>)
    return value;
  else
    return rounded<T>(value);
}

template <int From, int To, class T>
void rechannelRow(const T* __restrict from, T* __restrict to, int width) {
  constexpr bool kFromColor = From >= 3, kToColor = To >= 3;
  constexpr bool kFromAlpha = From % 2 == 0, kToAlpha = To % 2 == 0;
  for (int x = 0; x < width; ++x, from += From, to += To) {
    if constexpr (kFromColor && kToColor)
      std::copy_n(from, 3, to);
    else if constexpr (kToColor)
      std::fill_n(to, 3, *from);
    else if constexpr (kFromColor)
      *to = luma(from);
    else
      *to = *from;
    if constexpr (kToAlpha) to[To - 1] = kFromAlpha ? from[From - 1] : static_cast<T>(kWhite<T>);
  }
}

template <int From, class T>
void rechannelRow(const T* from, T* to, int width, int channels) {
  switch (channels) {
    case 1:
      return rechannelRow<From, 1>(from, to, width);
    case 2:
      return rechannelRow<From, 2>(from, to, width);
    case 3:
      return rechannelRow<From, 3>(from, to, width);
    default:
      return rechannelRow<From, 4>(from, to, width);
  }
}

template <class T>
void rechannelRow(const T* from, int fromChannels, T* to, int toChannels, int width) {
  switch (fromChannels) {
    case 1:
      return rechannelRow<1>(from, to, width, toChannels);
    case 2:
      return rechannelRow<2>(from, to, width, toChannels);
    case 3:
      return rechannelRow<3>(from, to, width, toChannels);
    default:
      return rechannelRow<4>(from, to, width, toChannels);
  }
}

}  // namespace

Image convert(const Image& picture, Sample sample) {
  if (picture.empty() || picture.sample() == sample) return picture;
  Image result(picture.width(), picture.height(), picture.channels(), sample, Filling::None);
  const std::size_t count = static_cast<std::size_t>(picture.width()) * static_cast<std::size_t>(picture.channels());
  withSampleType(picture.sample(), [&](auto from) {
    withSampleType(sample, [&](auto to) {
      for (int y = 0; y < picture.height(); ++y) {
        convertRow(picture.row<decltype(from)>(y), result.row<decltype(to)>(y), count);
      }
    });
  });
  return result;
}

Image convert(Image&& picture, Sample sample) {
  if (picture.sample() == sample) return std::move(picture);
  return convert(static_cast<const Image&>(picture), sample);
}

Image withChannels(const Image& picture, int channels) {
  if (picture.empty() || picture.channels() == channels) return picture;
  Image result(picture.width(), picture.height(), channels, picture.sample(), Filling::None);
  withSampleType(picture.sample(), [&](auto sample) {
    using T = decltype(sample);
    for (int y = 0; y < picture.height(); ++y) {
      rechannelRow(picture.row<T>(y), picture.channels(), result.row<T>(y), channels, picture.width());
    }
  });
  return result;
}

Image withChannels(Image&& picture, int channels) {
  if (picture.channels() == channels) return std::move(picture);
  return withChannels(static_cast<const Image&>(picture), channels);
}

}  // namespace quillmere::image
