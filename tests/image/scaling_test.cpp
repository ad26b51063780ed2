#include "image/scaling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "image/conversion.h"
#include "sample_pictures.h"

namespace quillmere::image::testing {
namespace {

Image noise(int width, int height) {
  Image picture(width, height, 3, Sample::Float);
  std::mt19937 random(7);
  std::generate_n(picture.row<float>(0), width * height * 3, [&] { return static_cast<float>(random() % 1000) / 999; });
  return picture;
}

// The defining sum, for one sample of the result, without any of the shortcuts.
double reference(const Image& picture, const Area& from, int width, int height, int x, int y, int channel) {
  const auto kernel = [](double d) {
    d = std::abs(d);
    return d < 1 ? 1.5 * d * d * d - 2.5 * d * d + 1 : d < 2 ? -0.5 * d * d * d + 2.5 * d * d - 4 * d + 2 : 0.0;
  };
  const double xStep = static_cast<double>(from.width) / width, yStep = static_cast<double>(from.height) / height;
  const double xCenter = (x + 0.5) * xStep - 0.5, yCenter = (y + 0.5) * yStep - 0.5;
  const double xStretch = std::max(1.0, xStep), yStretch = std::max(1.0, yStep);
  double sum = 0, weights = 0;
  for (int v = static_cast<int>(yCenter - 2 * yStretch) - 2; v <= yCenter + 2 * yStretch + 1; ++v) {
    for (int u = static_cast<int>(xCenter - 2 * xStretch) - 2; u <= xCenter + 2 * xStretch + 1; ++u) {
      const double weight = kernel((u - xCenter) / xStretch) * kernel((v - yCenter) / yStretch);
      const int column = from.left + std::clamp(u, 0, from.width - 1),
                row = from.top + std::clamp(v, 0, from.height - 1);
      sum += weight * static_cast<double>(picture.row<float>(row)[column * picture.channels() + channel]);
      weights += weight;
    }
  }
  return sum / weights;
}

TEST(Scaling, FollowsTheDefiningSumUpAndDown) {
  const Image picture = noise(23, 17);
  const std::tuple<Area, int, int> cases[] = {
      {{0, 0, 23, 17}, 46, 34}, {{0, 0, 23, 17}, 61, 90}, {{0, 0, 23, 17}, 11, 8}, {{0, 0, 23, 17}, 23, 5},
      {{3, 2, 9, 7}, 30, 40},   {{3, 2, 20, 15}, 7, 3},   {{22, 16, 1, 1}, 9, 9},  {{0, 0, 23, 17}, 1, 1},
      {{5, 0, 2, 17}, 3, 16},   {{4, 3, 2, 5}, 2, 5},     {{0, 4, 23, 3}, 22, 70},
  };
  for (const auto& [from, width, height] : cases) {
    SCOPED_TRACE(std::to_string(from.width) + " x " + std::to_string(from.height) + " to " + std::to_string(width) +
                 " x " + std::to_string(height));
    const Image scaled = scaleBicubic(picture, from, width, height);
    for (int y = 0; y < height; ++y) {
      for (int i = 0; i < width * 3; ++i) {
        const double expected = reference(picture, from, width, height, i / 3, y, i % 3);
        ASSERT_NEAR(static_cast<double>(scaled.row<float>(y)[i]), expected, 1e-4) << i / 3 << ", " << y;
      }
    }
  }
}

TEST(Scaling, FlatStaysFlatToTheLastDigit) {
  for (const int channels : {1, 2, 3, 4}) {
    Image words(30, 20, channels, Sample::Word);
    std::fill_n(words.row<std::uint16_t>(0), 30 * 20 * channels, std::uint16_t{54321});
    for (const auto& [width, height] : {std::pair{211, 333}, {7, 3}, {16000, 1}}) {
      const std::vector<double> samples = samplesOf(scaleBicubic(words, {0, 0, 30, 20}, width, height));
      EXPECT_EQ(samples, std::vector<double>(samples.size(), 54321)) << channels << " to " << width << " x " << height;
    }
  }
}

TEST(Scaling, BytesAreClampedAtHardEdgesWhereFloatsOvershoot) {
  Image bytes(8, 1, 1, Sample::Byte);
  std::fill_n(bytes.row<std::uint8_t>(0) + 4, 4, std::uint8_t{255});
  const auto extremes = [](const Image& picture) {
    const std::vector<double> samples = samplesOf(picture);
    return std::pair(*std::min_element(samples.begin(), samples.end()),
                     *std::max_element(samples.begin(), samples.end()));
  };
  const Image scaled = scaleBicubic(bytes, {0, 0, 8, 1}, 37, 1);
  EXPECT_EQ(extremes(scaled), std::pair(0.0, 255.0));
  // What ran over a byte would come out on the other side, in the middle of the dark or bright half.
  for (int x = 0; x < 37; ++x) EXPECT_EQ(scaled.row<std::uint8_t>(0)[x] >= 128, x >= 18) << x;
  const auto [darkest, brightest] = extremes(scaleBicubic(convert(bytes, Sample::Float), {0, 0, 8, 1}, 37, 1));
  EXPECT_LT(darkest, -0.05);
  EXPECT_GT(brightest, 1.05);
}

TEST(Scaling, AreasOutsideAndImpossibleSizesAreRefused) {
  const Image picture(10, 10, 1, Sample::Byte);
  for (const Area area : {Area{0, 0, 11, 10}, {-1, 0, 5, 5}, {9, 9, 1, 2}, {0, 0, 0, 5}, {2147483647, 0, 1, 1}}) {
    EXPECT_THROW(scaleBicubic(picture, area, 5, 5), Error) << area.left << ", " << area.top;
  }
  EXPECT_THROW(scaleBicubic(picture, {0, 0, 10, 10}, 0, 5), Error);
  EXPECT_THROW(scaleBicubic(picture, {0, 0, 10, 10}, 5, kMaxSide + 1), Error);
  EXPECT_THROW(scaleBicubic(Image(), {0, 0, 0, 0}, 5, 5), Error);
}

TEST(Conversion, WordsSurviveFloatsAndRoundToTheNearestByte) {
  Image words(8192, 8, 1, Sample::Word);
  for (int i = 0; i < 65536; ++i) words.row<std::uint16_t>(0)[i] = static_cast<std::uint16_t>(i);
  EXPECT_EQ(samplesOf(convert(convert(words, Sample::Float), Sample::Word)), samplesOf(words));
  const std::vector<double> bytes = samplesOf(convert(words, Sample::Byte));
  for (int i = 0; i < 65536; ++i) ASSERT_NEAR(bytes[static_cast<std::size_t>(i)], i / 257.0, 0.5) << i;
}

TEST(Conversion, FloatsBeyondWhiteAndBlackAreClamped) {
  Image floats(5, 1, 1, Sample::Float);
  const float values[] = {-3, 2, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), 0.5F};
  std::copy_n(values, 5, floats.row<float>(0));
  EXPECT_EQ(samplesOf(convert(floats, Sample::Byte)), (std::vector<double>{0, 255, 255, 0, 128}));
  EXPECT_EQ(samplesOf(convert(floats, Sample::Word)), (std::vector<double>{0, 65535, 65535, 0, 32768}));
}

TEST(Conversion, ChannelsAreSpreadWeighedAndFilled) {
  using Samples = std::vector<std::uint8_t>;
  const std::tuple<Samples, Samples> cases[] = {
      {{7}, {7, 255}},
      {{7}, {7, 7, 7}},
      {{7}, {7, 7, 7, 255}},
      {{7, 9}, {7}},
      {{7, 9}, {7, 7, 7}},
      {{7, 9}, {7, 7, 7, 9}},
      {{255, 0, 0}, {54}},
      {{0, 255, 0}, {182, 255}},
      {{0, 0, 255}, {0, 0, 255, 255}},
      {{255, 255, 255, 3}, {255}},
      {{1, 2, 3, 4}, {1, 2, 3}},
      {{255, 255, 255, 3}, {255, 3}},
  };
  for (const auto& [given, expected] : cases) {
    Image picture(1, 1, static_cast<int>(given.size()), Sample::Byte);
    std::copy(given.begin(), given.end(), picture.row<std::uint8_t>(0));
    EXPECT_EQ(samplesOf(withChannels(picture, static_cast<int>(expected.size()))),
              std::vector<double>(expected.begin(), expected.end()))
        << given.size() << " to " << expected.size();
  }
}

// Memory that held something before is handed out again.
TEST(Image, StartsBlackAtAnySize) {
  for (const int side : {3, 700, 1500}) {
    for (int i = 0; i < 3; ++i) {
      Image used(side, side, 4, Sample::Byte, Filling::None);
      std::fill_n(used.row<std::uint8_t>(0), side * side * 4, std::uint8_t{7});
      used = Image();
      const Image black(side, side, 4, Sample::Byte);
      const auto* const first = black.row<std::uint8_t>(0);
      ASSERT_EQ(std::count(first, first + side * side * 4, 0), side * side * 4) << side;
    }
  }
}

}  // namespace
}  // namespace quillmere::image::testing
