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

}  // namespace
}  // namespace quillmere::render
