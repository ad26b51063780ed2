#include "scene/view_camera.h"

#include <gtest/gtest.h>

#include "gltf_builder.h"

namespace quillmere::scene {
namespace {

// The largest part of the picture's half width or height at which a corner of the box stands.
float reachOf(const Bounds& box, const Camera& camera, float aspect, float& top, float& bottom) {
  const float tall = std::tan(camera.yfov / 2);
  float reach = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const glm::vec4 at((corner & 1) != 0 ? box.most.x : box.least.x, (corner & 2) != 0 ? box.most.y : box.least.y,
                       (corner & 4) != 0 ? box.most.z : box.least.z, 1);
    const glm::vec4 seen = glm::inverse(camera.toWorld) * at;
    EXPECT_LT(seen.z, -camera.znear);
    const float height = seen.y / -seen.z / tall;
    top = std::max(top, height);
    bottom = std::min(bottom, height);
    reach = std::max({reach, std::abs(height), std::abs(seen.x / seen.z / tall / aspect)});
  }
  return reach;
}

TEST(ViewCamera, ShowsAllOfTheSceneInTheMiddleOfThePicture) {
  struct Row {
    const char* name;
    Bounds box;
    View view;
    float aspect;
    int turntable;
  };
  const Row rows[] = {{"a cube", {{-1, -1, -1}, {1, 1, 1}}, {}, 1.78F, 0},
                      {"upright picture", {{-1, -1, -1}, {1, 1, 1}}, {}, 0.5F, 0},
                      {"a floor", {{-5, 0, -3}, {5, 0, 3}}, {}, 1.78F, 0},
                      {"a tower far away", {{1e4F, 0, 1e4F}, {1e4F + 10, 50, 1e4F + 10}}, {200, -10, {}, {}}, 1.78F, 0},
                      {"tiny", {{0, 0, 0}, {1e-6F, 1e-6F, 2e-6F}}, {}, 1.78F, 0},
                      {"huge", {{-1e8F, 0, -1e8F}, {1e8F, 1e8F, 1e8F}}, {}, 1.78F, 0},
                      {"from above", {{-1, -1, -1}, {1, 1, 1}}, {0, 90, {}, {}}, 1.0F, 0},
                      {"turning", {{-4, 0, -1}, {4, 1, 1}}, {}, 1.78F, 40}};
  GltfBuilder builder;
  builder.addNode({{"name", "Nothing"}});
  const auto scene = builder.load();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Turntable turntable{static_cast<double>(row.turntable)};
    const auto viewed =
        withViewCamera(scene, framed(row.view, row.box, static_cast<double>(row.aspect), turntable), turntable);
    float most = 0, top = -1, bottom = 1;
    for (int frame = 0; frame <= row.turntable; ++frame) {
      const Camera camera = viewed->at(frame).cameras.at(0);
      const float reach = reachOf(row.box, camera, row.aspect, top, bottom);
      EXPECT_LT(reach, 0.95F) << frame;
      most = std::max(most, reach);
    }
    EXPECT_GT(most, 0.8F);
    EXPECT_TRUE(row.view.elevation > 80 || std::abs(top + bottom) < 0.05F) << top << " " << bottom;
  }
}

TEST(ViewCamera, StandsWhereTheAnglesSayAndTurnsAnticlockwise) {
  GltfBuilder builder;
  builder.add("cameras", {{"type", "perspective"}, {"perspective", {{"yfov", 1}, {"znear", 1}}}});
  builder.addNode({{"name", "Default"}, {"camera", 0}});
  const View view{90, 0, 4, glm::vec3(1, 2, 3)};
  const auto viewed = withViewCamera(builder.load(), framed(view, {}, 1, {}), {8});
  EXPECT_EQ(viewed->cameras().at(1).name, "Default.1");
  for (const auto& [seconds, expected] :
       std::vector<std::pair<double, glm::vec3>>{{0, {5, 2, 3}}, {2, {1, 2, -1}}, {-2, {1, 2, 7}}, {8, {5, 2, 3}}}) {
    const glm::mat4 camera = viewed->at(seconds).cameras.at(1).toWorld;
    EXPECT_LT(glm::distance(glm::vec3(camera[3]), expected), 1e-5F) << seconds;
    EXPECT_LT(glm::distance(glm::vec3(camera[2]) * 4.0F, expected - glm::vec3(1, 2, 3)), 1e-5F)
        << "looks at its target";
  }
}

TEST(ViewCamera, BoundsHoldTheSceneAtEveryGivenTime) {
  GltfBuilder builder;
  const int node = builder.show(builder.triangle());
  builder.animate<float>(node, "translation", "LINEAR", 2, {0, 0, 0, 10, 0, 0}, "VEC3");
  const Bounds bounds = boundsOf(*builder.load(), {0, 0.5, 1});
  EXPECT_EQ(bounds.least, glm::vec3(0));
  EXPECT_EQ(bounds.most, glm::vec3(11, 1, 0));
}

}  // namespace
}  // namespace quillmere::scene
