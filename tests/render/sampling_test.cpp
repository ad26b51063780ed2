#include "render/sampling.h"

#include <gtest/gtest.h>

#include <set>

namespace quillmere::render {
namespace {

TEST(SamplePoints, PowersOfTwoFillEveryRowColumnAndSquare) {
  for (const std::uint32_t seed : {0U, 1U, 0xdeadbeefU}) {
    std::set<int> columns, rows, squares;
    for (std::uint32_t i = 0; i < 16; ++i) {
      const glm::vec2 point = samplePoint(i, seed);
      ASSERT_TRUE(point.x >= 0.0F && point.x < 1.0F && point.y >= 0.0F && point.y < 1.0F);
      columns.insert(static_cast<int>(point.x * 16));
      rows.insert(static_cast<int>(point.y * 16));
      squares.insert(static_cast<int>(point.x * 4) * 4 + static_cast<int>(point.y * 4));
    }
    EXPECT_EQ(columns.size(), 16U) << seed;
    EXPECT_EQ(rows.size(), 16U) << seed;
    EXPECT_EQ(squares.size(), 16U) << seed;
  }
}

}  // namespace
}  // namespace quillmere::render
