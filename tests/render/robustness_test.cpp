#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <glm/gtc/matrix_transform.hpp>
#include <limits>

#include "small_picture.h"

namespace quillmere::render {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

bool isPicture(const image::Image& picture) {
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const glm::vec3 value = pixel(picture, x, y);
      if (!glm::all(glm::lessThanEqual(glm::abs(value - 0.5F), glm::vec3(0.5F)))) return false;
    }
  }
  return !picture.empty();
}

// A white triangle in the upper left of the view, beside what makes trouble.
std::shared_ptr<HandMadeScene> sceneWithASafeCorner() {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-1, 0.5F, -0.5F, 1), scene->addMaterial(unlit({1, 1, 1})));
  return scene;
}

TEST(Robustness, OneBadSurfaceSpoilsNoOther) {
  struct Row {
    const char* name;
    std::function<void(scene::Geometry&, glm::mat4&)> spoil;
  };
  const std::vector<Row> rows{
      {"no triangles", [](auto& g, auto&) { g.indices.clear(); }},
      {"a vertex that is no number", [](auto& g, auto&) { g.positions[1].x = kNan; }},
      {"a vertex beyond all bounds", [](auto& g, auto&) { g.positions[1].x = 3e38F; }},
      {"triangles without area", [](auto& g, auto&) { g.positions.assign(4, glm::vec3(0.1F)); }},
      {"normals that are no numbers", [](auto& g, auto&) { g.normals.assign(4, glm::vec3(kNan)); }},
      {"colours beyond all bounds", [](auto& g, auto&) { g.colors.assign(4, glm::vec4(1e38F, kNan, -5, 1)); }},
      {"scaled to nothing", [](auto&, auto& m) { m = glm::scale(m, glm::vec3(0)); }},
      {"scaled flat", [](auto&, auto& m) { m = glm::scale(m, glm::vec3(1, 0, 1)); }},
      {"nowhere", [](auto&, auto& m) { m[3].x = kNan; }},
      {"far away", [](auto&, auto& m) { m[3].x = 1e30F; }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    auto scene = sceneWithASafeCorner();
    const std::shared_ptr<scene::Geometry> bad = rectangle(-0.4F, -1, 1, 1);
    glm::mat4 place = moved(0, 0, -0.5F);
    row.spoil(*bad, place);
    scene->add(bad, 0, place);
    for (const Kind kind : {Kind::Quick, Kind::Final}) {
      const image::Image drawn = picture(scene, orthographic({0, 0, 3}, {0, 0, 0}, 1.0F), 16, 16, kind);
      EXPECT_TRUE(isPicture(drawn));
      EXPECT_EQ(pixel(drawn, 1, 1), glm::vec3(1.0F));
    }
  }
}

TEST(Robustness, OddCamerasGiveAPicture) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(cube(2), 0);
  scene->add(cube(2), scene->addMaterial(colored({0.5F, 0.2F, 0.2F})), glm::scale(glm::mat4(1.0F), glm::vec3(1e4F)));
  const scene::Camera inside = perspective({0, 0, 0}, {0, 0, -1}, 0.8F);
  std::vector<scene::Camera> views(6, inside);
  views[1].yfov = 4.0F;
  views[2].yfov = 0.0F;
  views[3].orthographic = true;
  views[3].ymag = 0.0F;
  views[4].znear = -5.0F;
  views[5].zfar = 0.001F;
  for (const scene::Camera& view : views) {
    for (const Kind kind : {Kind::Quick, Kind::Final}) EXPECT_TRUE(isPicture(picture(scene, view, 12, 8, kind)));
  }
}

TEST(Robustness, ScenesOfAnySizeThrowTheSameShadow) {
  for (const float scale : {1e-4F, 1.0F, 1e5F}) {
    auto scene = std::make_shared<HandMadeScene>();
    const int grey = scene->addMaterial(colored({0.4F, 0.4F, 0.4F}));
    const glm::mat4 sized = glm::scale(glm::mat4(1.0F), glm::vec3(scale));
    scene->add(ground(40), grey, sized);
    scene->add(cube(1), grey, glm::translate(sized, glm::vec3(0, 0.5F, 0)));
    scene::Camera view = orthographic({0, 20.0F * scale, 0}, {0, 0, 0}, 2.0F * scale);
    view.znear *= scale;
    const image::Image drawn = picture(scene, view, kPlanSide, kPlanSide, Kind::Final);
    const float open = brightness(lightAt(drawn, 1.4F, 1.4F));
    SCOPED_TRACE(scale);
    EXPECT_GT(open, 0.2F);
    EXPECT_LT(brightness(lightAt(drawn, -0.8F, -0.8F)), 0.6F * open) << "the sun stands at +X +Z";
    EXPECT_GT(brightness(lightAt(drawn, -0.8F, -0.8F)), 0.02F) << "the sky lights shadows";
    EXPECT_GT(brightness(lightAt(drawn, 0.8F, 0.8F)), 0.8F * open);
    EXPECT_GT(brightness(lightAt(drawn, 0, 0)), 0.8F * open) << "the top of the cube shades itself";
  }
}

TEST(Robustness, SizesAreExactOrRefused) {
  auto scene = sceneWithASafeCorner();
  Renderer renderer(scene);
  renderer.pose(0.0);
  const scene::Camera view = perspective({0, 0, 3}, {0, 0, 0}, 0.8F);
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(1, 37), std::pair(35, 1), std::pair(67, 33)}) {
    for (const image::Image& drawn :
         {renderer.drawQuick(view, width, height), renderer.drawFinal(view, width, height, {1})}) {
      EXPECT_EQ(drawn.width(), width);
      EXPECT_EQ(drawn.height(), height);
      EXPECT_EQ(drawn.channels(), 3);
      EXPECT_GT(brightness(pixel(drawn, width - 1, height - 1)), 0.1F) << "the last pixel is drawn";
    }
  }
  for (const auto& [width, height] : {std::pair(0, 5), std::pair(5, -1), std::pair(image::kMaxSide + 1, 1)}) {
    EXPECT_THROW(renderer.drawQuick(view, width, height), Error);
    EXPECT_THROW(renderer.drawFinal(view, width, height), Error);
  }
}

}  // namespace
}  // namespace quillmere::render
