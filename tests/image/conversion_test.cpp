#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "image/conversion.h"
#include "sample_pictures.h"

namespace quillmere::image::testing {

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

}  // namespace quillmere::image::testing
