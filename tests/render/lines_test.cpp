#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <glm/gtc/matrix_transform.hpp>

#include "hand_made_scene.h"
#include "render/line_drawing.h"
#include "render/renderer.h"

namespace quillmere::render {
namespace {

constexpr int kSide = 21;  // pixels

using ScenePointer = std::shared_ptr<HandMadeScene>;

image::Image linesOf(const ScenePointer& scene, const scene::Camera& camera, int side = kSide) {
  Renderer renderer(scene);
  renderer.pose(0.0);
  PassRequest request;
  request.passes = {Pass::Lines};
  return renderer.drawPasses(camera, side, side, request)->lines;
}

scene::Camera ahead() {
  return perspective({0, 0, 5}, {0, 0, 0}, 0.93F);
}
scene::Camera parallel() {
  return orthographic({0, 0, 5}, {0, 0, 0}, 2.0F);
}

// One object that leaps: a wall with another before its right half.
std::shared_ptr<scene::Geometry> ledge() {
  auto ledge = wall();
  const auto before = rectangle(0, -50, 50, 50);
  for (const glm::vec3 corner : before->positions) ledge->positions.push_back(corner + glm::vec3(0, 0, 1));
  for (const std::uint32_t corner : before->indices) ledge->indices.push_back(corner + 4);
  return ledge;
}

// Folded along x = 0, by 90 degrees.
std::shared_ptr<scene::Geometry> roof() {
  auto roof = wall();
  for (const std::uint32_t corner : {0U, 3U}) roof->positions[corner] = {0, roof->positions[corner].y, 0};
  for (const std::uint32_t corner : {1U, 2U}) roof->positions[corner].z = -50;
  const auto half = std::make_shared<scene::Geometry>(*roof);
  for (glm::vec3 corner : half->positions) roof->positions.push_back(corner * glm::vec3(-1, 1, 1));
  for (const std::uint32_t corner : {4U, 6U, 5U, 4U, 7U, 6U}) roof->indices.push_back(corner);
  return roof;
}

// The middle row or column crosses one line, as bright as `full` says.
TEST(Lines, AreOnSilhouettesBordersLeapsAndCreasesAlone) {
  scene::Material both;
  both.doubleSided = true;
  struct Row {
    const char* what;
    ScenePointer scene;
    bool expected;
  };
  const glm::mat4 slope = glm::rotate(glm::mat4(1.0F), glm::radians(60.0F), glm::vec3(0, 1, 0));
  for (const Row& row :
       {Row{"silhouette", sceneOf(rectangle(0, -50, 50, 50)), true}, Row{"leap", sceneOf(ledge()), true},
        Row{"crease", sceneOf(roof(), glm::mat4(1.0F), both), true}, Row{"wall", sceneOf(wall()), false},
        Row{"slope", sceneOf(wall(), slope, both), false},
        Row{"ball", sceneOf(ball(), glm::scale(moved(0, 0, 0), glm::vec3(4.5F))), false}}) {
    for (const scene::Camera& camera : {ahead(), parallel()}) {
      SCOPED_TRACE(row.what);
      const image::Image picture = linesOf(row.scene, camera);
      const float* lines = picture.row<float>(kSide / 2);
      if (row.what != std::string("ball")) {
        EXPECT_LT(lines[0] + lines[3] + lines[kSide - 4] + lines[kSide - 1], 0.01F);
      }
      EXPECT_NEAR(lines[kSide / 2], row.expected ? 1.0F : 0.0F, row.expected ? 0.3F : 0.01F);
    }
  }
}

// Along the diagonal each pixel is like the one before it, wherever tiles, strips of them and vectors of four end;
// behind glass, where samples are looked at one by one, creases are the same.
TEST(Lines, GoOnFromTileToTile) {
  constexpr int kLarge = 103;
  scene::Material both;
  both.doubleSided = true;
  const glm::mat4 turned = glm::rotate(glm::mat4(1.0F), glm::radians(45.0F), glm::vec3(0, 0, 1));
  const auto behindGlass = sceneOf(roof(), turned, both);
  behindGlass->things = {"Both"};
  behindGlass->add(wall(), behindGlass->addMaterial(glass({1, 1, 1}, 0.3F)), moved(0, 0, 2));
  for (const ScenePointer& scene : {sceneOf(rectangle(0, -50, 50, 50), turned), sceneOf(ledge(), turned),
                                    sceneOf(roof(), turned, both), behindGlass}) {
    const image::Image picture = linesOf(scene, parallel(), kLarge);
    for (int y = 4; y < kLarge - 3; ++y) {  // at the edges the outermost pixels go on
      const float *before = picture.row<float>(y - 1), *row = picture.row<float>(y);
      for (int x = 4; x < kLarge - 3; ++x) ASSERT_NEAR(row[x], before[x - 1], 0.02F) << x << ", " << y;
      EXPECT_GT(*std::max_element(row, row + kLarge), 0.5F) << y;
    }
  }
}

TEST(Lines, PartObjectsOnOnePlane) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->things = {"A", "B"};
  scene->add(rectangle(-50, -50, 0, 50), 0);
  scene->add(rectangle(0, -50, 50, 50), 0);
  EXPECT_LT(*linesOf(scene, ahead()).pixel<float>(10, 10), 0.01F) << "one object";
  scene->now.surfaces.back().object = 1;
  const image::Image lines = linesOf(scene, ahead());
  EXPECT_GT(*lines.pixel<float>(10, 10), 0.9F);
  for (const int beside : {9, 11}) EXPECT_NEAR(*lines.pixel<float>(beside, 10), 0.5F, 0.05F) << "by shares of pixels";
}

// What is looked along, as water is, leaps by as much again as it changes anyway.
TEST(Lines, LeapsCountAsFarAsDepthDoesNotChangeAnyway) {
  constexpr int kWidth = 16, kMiddle = kWidth / 2, kRows = 2 * LineSearch::kReach + 1;
  scene::Camera camera = parallel();
  camera.ymag = 0.5F;  // sees 1 m
  const auto lineAt = [&](float slope, float leap) {
    LineRows rows(kWidth, kRows);
    std::array<LineRow, kRows> around;
    for (int y = 0; y < kRows; ++y) {
      around[static_cast<std::size_t>(y)] = rows.row(y);
      for (int x = 0; x < kWidth; ++x) {
        const float depth = 5.0F + slope * static_cast<float>(x) + (x < kMiddle ? 0.0F : leap);
        rows.row(y).put(x, {0, 0, 1}, depth, {{1, 0}, {1.0F, 0.0F}});
      }
      rows.row(y).repeatFirst();
      rows.row(y).repeatLast(kWidth);
    }
    std::array<float, kWidth> lines{};
    LineSearch(camera).draw(around, kWidth, lines.data());
    return lines[kMiddle];
  };
  EXPECT_EQ(lineAt(0.01F, 0.02F), 0.0F);
  EXPECT_GT(lineAt(0.0F, 0.05F), 0.9F);
}

}  // namespace
}  // namespace quillmere::render
