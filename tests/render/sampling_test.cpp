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

TEST(SamplePoints, HemisphereDirectionsFollowTheCosine) {
  for (const glm::vec3 normal : {glm::vec3(0, 1, 0), glm::vec3(0, 0, -1), glm::normalize(glm::vec3(-1, 2, -3))}) {
    glm::vec3 sum(0.0F);
    for (std::uint32_t i = 0; i < 1024; ++i) {
      const glm::vec3 direction = overHemisphere(normal, samplePoint(i, 5));
      ASSERT_NEAR(glm::length(direction), 1.0F, 1e-4F);
      ASSERT_GE(glm::dot(direction, normal), -1e-5F);
      sum += direction;
    }
    // The mean of a cosine-weighted hemisphere lies two thirds up its axis.
    EXPECT_LT(glm::distance(sum / 1024.0F, normal * (2.0F / 3.0F)), 0.01F);
  }
}

}  // namespace
}  // namespace quillmere::render
