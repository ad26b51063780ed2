#include <gtest/gtest.h>

#include "gltf_builder.h"

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

}  // namespace
}  // namespace quillmere::scene
