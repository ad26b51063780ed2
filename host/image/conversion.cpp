#include "image/conversion.h"

#include <algorithm>
#include <cmath>

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

// Calls `work` with the number of channels as a constant, for loops that the compiler knows the steps of.
template <class Work>
void withChannelCount(int channels, Work&& work) {
  switch (channels) {
    case 1:
      return work(std::integral_constant<int, 1>{});
    case 2:
      return work(std::integral_constant<int, 2>{});
    case 3:
      return work(std::integral_constant<int, 3>{});
    default:
      return work(std::integral_constant<int, 4>{});
  }
}

float lightOf(float stored) {
  const float size = std::abs(stored);
  const float light = size <= 0.04045F ? size / 12.92F : std::pow((size + 0.055F) / 1.055F, 2.4F);
  return std::copysign(light, stored);
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

Image withChannels(const Image& picture, int channels) {
  if (picture.empty() || picture.channels() == channels) return picture;
  Image result(picture.width(), picture.height(), channels, picture.sample(), Filling::None);
  withSampleType(picture.sample(), [&]<class T>(T) {
    withChannelCount(picture.channels(), [&](auto from) {
      withChannelCount(channels, [&](auto to) {
        for (int y = 0; y < picture.height(); ++y) {
          rechannelRow<from, to>(picture.row<T>(y), result.row<T>(y), picture.width());
        }
      });
    });
  });
  return result;
}

Image withChannels(Image&& picture, int channels) {
  if (picture.channels() == channels) return std::move(picture);
  return withChannels(static_cast<const Image&>(picture), channels);
}

Image premultipliedLight(const Image& picture) {
  Image light = convert(picture, Sample::Float);
  const int channels = light.channels(), colors = channels - (channels % 2 == 0 ? 1 : 0);
  for (int y = 0; y < light.height(); ++y) {
    float* values = light.row<float>(y);
    for (int x = 0; x < light.width(); ++x, values += channels) {
      const float alpha = colors < channels ? values[colors] : 1.0F;
      for (int c = 0; c < colors; ++c) values[c] = lightOf(values[c]) * alpha;
    }
  }
  return light;
}

}  // namespace quillmere::image
