#include <gtest/gtest.h>

#include "gltf_builder.h"
#include "scene/view_camera.h"

namespace quillmere::scene {
namespace {

int perspective(GltfBuilder& builder, const char* name) {
  return builder.add("cameras",
                     {{"type", "perspective"}, {"name", name}, {"perspective", {{"yfov", 0.7}, {"znear", 0.1}}}});
}

TEST(Cameras, HaveUniqueNamesInDocumentOrder) {
  GltfBuilder builder;
  const int shared = perspective(builder, "Lens");
  const int nameless = perspective(builder, "");
  builder.addNode({{"name", "Bow"}, {"camera", shared}});
  builder.addNode({{"camera", shared}});
  builder.addNode({{"name", "Bow"}, {"camera", nameless}});
  builder.addNode({{"name", "Bow.1"}, {"camera", shared}});
  builder.addNode({{"camera", nameless}});
  builder.addNode({{"name", "a\nb"}, {"camera", nameless}});
  builder.add("nodes", {{"name", "not in the scene"}, {"camera", shared}});
  std::vector<std::string> names;
  const auto scene = builder.load();
  for (const CameraInfo& camera : scene->cameras()) names.push_back(camera.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Bow", "Lens", "Bow.1", "Bow.1.1", "Camera", "a b"}));
}

// With a search from the start for each of them, this wouldn't end while a test may run.
TEST(Cameras, OfAnyNumberMayWantTheSameName) {
  constexpr std::size_t kMany = 100000;
  GltfBuilder builder;
  const nlohmann::json node = {{"name", "Bow"}, {"camera", perspective(builder, "")}};
  builder.json["nodes"] = std::vector<nlohmann::json>(kMany, node);
  builder.json.erase("scene");
  builder.json.erase("scenes");
  EXPECT_EQ(builder.load()->cameras().back().name, "Bow." + std::to_string(kMany - 1));
}

TEST(Cameras, KeepTheirLensAndFollowTheirNodeWithoutItsScale) {
  GltfBuilder builder;
  const int flat = builder.add(
      "cameras", {{"type", "orthographic"}, {"orthographic", {{"xmag", 4}, {"ymag", 3}, {"znear", 0}, {"zfar", 50}}}});
  const int boom = builder.addNode({{"scale", {-2, 3, 4}}, {"translation", {1, 2, 3}}, {"children", {1}}});
  builder.add("nodes", {{"camera", perspective(builder, "")}, {"translation", {0, 0, 1}}});
  builder.addNode({{"camera", flat}, {"matrix", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 5, 5, 1}}});
  builder.animate<float>(boom, "translation", "LINEAR", 2, {1, 2, 3, 1, 2, 4}, "VEC3");
  const auto scene = builder.load();
  EXPECT_TRUE(scene->cameras()[0].animated);
  EXPECT_FALSE(scene->cameras()[1].animated);
  EXPECT_TRUE(scene->cameras()[1].orthographic);
  const Snapshot snapshot = scene->at(1);
  EXPECT_FLOAT_EQ(snapshot.cameras[0].yfov, 0.7F);
  EXPECT_FALSE(snapshot.cameras[0].zfar.has_value());
  EXPECT_FLOAT_EQ(snapshot.cameras[1].ymag, 3);
  EXPECT_FLOAT_EQ(snapshot.cameras[1].zfar.value_or(0), 50);
  EXPECT_EQ(glm::vec3(snapshot.cameras[0].toWorld[3]), glm::vec3(1, 2, 8));
  for (const Camera& view : snapshot.cameras) EXPECT_NEAR(glm::determinant(glm::mat3(view.toWorld)), 1.0F, 1e-5F);
}

TEST(Lights, ShineInTheWorldWithTheirIntensity) {
  GltfBuilder builder;
  builder.json["extensionsUsed"] = {"KHR_lights_punctual"};
  builder.json["extensions"]["KHR_lights_punctual"]["lights"] = {
      {{"type", "directional"}, {"intensity", 3}, {"color", {1, 0.5, 0}}},
      {{"type", "spot"}, {"range", 9}, {"spot", {{"innerConeAngle", 0.2}, {"outerConeAngle", 0.4}}}}};
  const auto node = [](int light) {
    return nlohmann::json{{"translation", {0, 5, 0}},
                          {"rotation", {-0.70710678, 0, 0, 0.70710678}},
                          {"extensions", {{"KHR_lights_punctual", {{"light", light}}}}}};
  };
  builder.addNode(node(0));
  builder.addNode(node(1));
  const auto scene = builder.load();
  EXPECT_TRUE(scene->warnings().empty());
  const auto lights = scene->at(0).lights;
  ASSERT_EQ(lights.size(), 2U);
  EXPECT_EQ(lights[0].color, glm::vec3(3, 1.5F, 0));
  EXPECT_EQ(lights[0].kind, Light::Kind::Directional);
  EXPECT_LT(glm::distance(lights[0].direction, glm::vec3(0, -1, 0)), 1e-5F);
  EXPECT_EQ(lights[1].position, glm::vec3(0, 5, 0));
  EXPECT_FLOAT_EQ(lights[1].outerCone, 0.4F);
  EXPECT_FLOAT_EQ(lights[1].range, 9);
}

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
