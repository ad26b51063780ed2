#include <gtest/gtest.h>

#include "small_picture.h"

namespace quillmere::render {
namespace {

// An angle whose half has a tangent of one half: 1 m is seen at a distance of 1 m.
constexpr float kMetrePerMetre = 0.92729522F;

struct Box {
  int left, top, right, bottom;  // right and bottom lie outside
};

// How many pixels are white where they should not be or the other way round.
int misplaced(const image::Image& picture, const Box& white) {
  int count = 0;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const bool inside = x >= white.left && x < white.right && y >= white.top && y < white.bottom;
      if ((brightness(pixel(picture, x, y)) > 0.999F) != inside) ++count;
    }
  }
  return count;
}

TEST(Projection, ARectangleCoversExactlyItsPixels) {
  struct Row {
    scene::Camera view;
    int width, height;
    Box white;  // where the rectangle from (-0.5, -0.25) to (0.25, 0.5) in the plane z = 0 is seen
  };
  const std::vector<Row> rows{
      {perspective({0, 0, 2}, {0, 0, 0}, kMetrePerMetre), 64, 48, {20, 12, 38, 30}},
      {perspective({0, 0, 2}, {0, 0, 0}, kMetrePerMetre), 48, 48, {12, 12, 30, 30}},
      {perspective({0, 0, 2}, {0, 0, 0}, kMetrePerMetre), 33, 48, {5, 12, 22, 30}},  // left edge at 4.5, right at 22.5
      {perspective({0.5F, 0, 2}, {0.5F, 0, 0}, kMetrePerMetre), 64, 48, {8, 12, 26, 30}},
      {perspective({0, 0, -2}, {0, 0, 0}, kMetrePerMetre), 64, 48, {26, 12, 44, 30}},  // left and right swapped
      {orthographic({0, 0, 7}, {0, 0, 0}, 1.0F), 64, 48, {20, 12, 38, 30}},
      {orthographic({0, 0.25F, 7}, {0, 0.25F, 0}, 2.0F), 64, 48, {26, 21, 35, 30}},
      {orthographic({0, 0, 7}, {0, 0, 0}, 1.0F), 5, 16, {0, 4, 4, 10}},  // right edge at 4.5
  };
  auto scene = std::make_shared<HandMadeScene>();
  scene::Material white = unlit({1, 1, 1});
  white.doubleSided = true;
  scene->add(rectangle(-0.5F, -0.25F, 0.25F, 0.5F), scene->addMaterial(white));
  for (const Row& row : rows) {
    for (const Kind kind : {Kind::Quick, Kind::Final}) {
      EXPECT_EQ(misplaced(picture(scene, row.view, row.width, row.height, kind), row.white), 0) << &row - rows.data();
    }
  }
}

TEST(Projection, EdgesAreSmoothed) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-9, -9, 0.125F, 9), scene->addMaterial(unlit({1, 1, 1})));
  const scene::Camera view = orthographic({0, 0, 5}, {0, 0, 0}, 2.0F);  // 4 pixels per metre: the edge is at 8.5
  for (const Kind kind : {Kind::Quick, Kind::Final}) {
    const image::Image drawn = picture(scene, view, 16, 16, kind);
    const float background = brightness(lightAround(drawn, 9, 8, 0));
    EXPECT_NEAR(brightness(lightAround(drawn, 8, 8, 0)), 0.5F * (1.0F + background), 0.08F);
  }
  Renderer renderer(scene);
  renderer.pose(0.0);
  const image::Image single = renderer.drawFinal(view, 16, 16, {1});
  for (int y = 0; y < 16; ++y) {
    const glm::vec3 edge = pixel(single, 8, y);
    EXPECT_TRUE(edge == pixel(single, 7, y) || edge == pixel(single, 9, y)) << "by more than one sample";
  }
}

TEST(Projection, StripesOfFourPixelsStaySharp) {
  auto stripes = std::make_shared<image::Image>(32, 32, 4, image::Sample::Byte);
  for (int i = 0; i < 32 * 32 * 4; ++i) stripes->row<std::uint8_t>(0)[i] = i % 4 == 3 || i / 16 % 2 == 0 ? 255 : 0;
  auto scene = std::make_shared<HandMadeScene>();
  scene::Material material = unlit({1, 1, 1});
  material.texture.picture = stripes;
  scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(material));
  for (const Kind kind : {Kind::Quick, Kind::Final}) {
    const image::Image drawn = picture(scene, orthographic({0, 0, 3}, {0, 0, 0}, 1.0F), 32, 32, kind);
    EXPECT_NEAR(brightness(pixel(drawn, 9, 9)), 1.0F, 0.01F);
    EXPECT_NEAR(brightness(pixel(drawn, 13, 9)), 0.0F, 0.01F);
  }
}

TEST(Projection, OnlyWhatLiesBetweenTheNearAndTheFarPlaneIsSeen) {
  for (const bool flat : {false, true}) {
    for (const auto& [distance, seen] : {std::pair(0.9F, false), {1.1F, true}, {2.9F, true}, {3.1F, false}}) {
      SCOPED_TRACE(testing::Message() << (flat ? "orthographic " : "perspective ") << distance);
      scene::Camera view = flat ? orthographic({0, 0, 0}, {0, 0, -1}, 1.0F) : perspective({0, 0, 0}, {0, 0, -1}, 2.2F);
      view.znear = 1.0F;
      view.zfar = 3.0F;
      auto scene = std::make_shared<HandMadeScene>();
      scene->add(rectangle(-50, -50, 50, 50), scene->addMaterial(unlit({1, 1, 1})), moved(0, 0, -distance));
      // The planes are flat: what holds in the middle holds in the corner, which is more than twice as far away.
      EXPECT_EQ(misplaced(picture(scene, view, 16, 16, Kind::Quick), seen ? Box{0, 0, 16, 16} : Box{}), 0);
    }
  }
}

}  // namespace
}  // namespace quillmere::render
