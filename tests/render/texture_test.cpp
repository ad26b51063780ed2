#include "render/texture.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

namespace quillmere::render {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// A row of four texels: black, red, green, blue.
std::shared_ptr<const image::Image> fourColors() {
  auto picture = std::make_shared<image::Image>(4, 1, 4, image::Sample::Byte);
  std::uint8_t* rgba = picture->row<std::uint8_t>(0);
  for (int i = 0; i < 4; ++i) {
    rgba[4 * i + 3] = 255;
    if (i > 0) rgba[4 * i + i - 1] = 255;
  }
  return picture;
}

char nameOf(glm::vec4 color) {
  if (color.r > 0.99F) return 'r';
  if (color.g > 0.99F) return 'g';
  return color.b > 0.99F ? 'b' : 'k';
}

TEST(Texture, CoordinatesOutsideWrapAsTheMaterialSays) {
  // Whether it is repeated and mirrored, and what is read at -0.875, -0.625 … 1.875.
  const std::tuple<bool, bool, const char*> rows[] = {
      {false, false, "kkkkkrgbbbbb"}, {true, false, "krgbkrgbkrgb"}, {true, true, "bgrkkrgbbgrk"}};
  const Texture texture(fourColors());
  for (const auto& [repeat, mirror, expected] : rows) {
    for (const bool nearest : {true, false}) {
      scene::TextureMap map;
      map.repeatU = repeat;
      map.mirrorU = mirror;
      map.nearest = nearest;
      std::string seen;
      for (int i = 0; i < 12; ++i) {
        const float u = -0.875F + 0.25F * static_cast<float>(i);
        seen += nameOf(texture.read({u, 0.5F}, 0.0F, map));
      }
      EXPECT_EQ(seen, expected) << (nearest ? " nearest" : " linear");
    }
  }
}

TEST(Texture, FarAwayPatternsBecomeTheirMeanLight) {
  auto checks = std::make_shared<image::Image>(64, 33, 4, image::Sample::Byte);
  for (int y = 0; y < 33; ++y) {
    for (int i = 0; i < 256; ++i) checks->row<std::uint8_t>(y)[i] = i % 4 == 3 || (i / 4 + y) % 2 == 0 ? 255 : 0;
  }
  const Texture texture(checks);
  for (const float level : {1.0F, 2.5F, 6.0F, 40.0F}) {
    EXPECT_NEAR(texture.read({0.3F, 0.3F}, level, scene::TextureMap{}).r, 0.5F, 0.02F) << level;
  }
}

TEST(Texture, AnyCoordinatesCanBeRead) {
  const Texture texture(fourColors());
  for (const bool mirror : {false, true}) {
    scene::TextureMap map;
    map.mirrorU = map.mirrorV = mirror;
    for (const float wild : {kNan, -std::numeric_limits<float>::infinity(), 1e30F, -3e9F, -1e-9F, 0.99999997F}) {
      for (const float level : {kNan, 0.0F, 1.5F, std::numeric_limits<float>::infinity()}) {
        const glm::vec4 color = texture.read({wild, wild}, level, map);
        EXPECT_TRUE(color.r >= 0.0F && color.r <= 1.0F && color.a > 0.99F) << wild << " " << level;
      }
    }
  }
}

TEST(Texture, FourPlacesShowWhatEachShowsAlone) {
  auto picture = std::make_shared<image::Image>(5, 3, 4, image::Sample::Byte);
  for (int i = 0; i < 60; ++i) picture->row<std::uint8_t>(0)[i] = static_cast<std::uint8_t>(i < 24 ? 90 : 37 * i);
  const Texture texture(picture);
  constexpr float kHuge = 3e9F, kEdge = std::numeric_limits<float>::infinity();
  const Four coordinates[] = {{0, 0.2F, 0.4F, 0.6F},        {0.1F, 0.11F, 0.12F, 0.13F},
                              {0.99F, 1, 1.01F, -0.01F},    {-1e-9F, -7.3F, 8.5F, 1e-9F},
                              {kHuge, -kHuge, kNan, kEdge}, {8388607.5F, -4194303.5F, 2, -3}};
  for (const auto& [repeat, mirror] : {std::pair(true, false), {true, true}, {false, false}}) {
    scene::TextureMap map;
    map.repeatU = repeat;
    map.mirrorV = mirror;
    for (const Four& u : coordinates) {
      for (const Four& v : coordinates) {
        const auto together = texture.readFour(u, v, map);
        for (int i = 0; i < 4; ++i) {
          EXPECT_EQ(together[static_cast<std::size_t>(i)], texture.read({u[i], v[i]}, 0.0F, map))
              << u[i] << ", " << v[i];
        }
      }
    }
  }
}

}  // namespace
}  // namespace quillmere::render
