#include "render/color_encoding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace quillmere::render {
namespace {

TEST(ColorEncoding, StoredValuesSurviveTheWayToLightAndBack) {
  for (int value = 0; value < 256; ++value) {
    const float light = lightOf(static_cast<std::uint8_t>(value));
    EXPECT_EQ(storedByte(light), value);
    EXPECT_NEAR(stored(light) * 255.0F, static_cast<float>(value), 0.01F);
  }
}

TEST(ColorEncoding, NothingLeavesTheRange) {
  for (const float light :
       {-1.0F, 2.0F, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    EXPECT_TRUE(stored(light) == 0.0F || stored(light) == 1.0F) << light;
    EXPECT_EQ(storedByte(light), stored(light) * 255.0F) << light;
    EXPECT_TRUE(std::isfinite(filmic(glm::vec3(light)).x) || std::isnan(light));
  }
}

TEST(ColorEncoding, TheFilmCurveKeepsTheOrderOfBrightness) {
  float last = -1.0F;
  for (float radiance = 0.0F; radiance < 100.0F; radiance += 0.05F) {
    const float shown = filmic(glm::vec3(radiance)).x;
    EXPECT_GT(shown, last);
    last = shown;
  }
}

}  // namespace
}  // namespace quillmere::render
