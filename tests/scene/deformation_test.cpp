#include <gtest/gtest.h>

#include "gltf_builder.h"

namespace quillmere::scene {
namespace {

// A triangle with two morph targets: the first lifts its second vertex, the second moves everything along Z.
int showMorphing(GltfBuilder& builder) {
  auto primitive = builder.triangle();
  primitive["attributes"]["NORMAL"] = builder.accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3");
  primitive["targets"] = {{{"POSITION", builder.accessor<float>({0, 0, 0, 0, 2, 0, 0, 0, 0}, "VEC3")}},
                          {{"POSITION", builder.accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3")},
                           {"NORMAL", builder.accessor<float>({1, 0, -1, 0, 0, 0, 0, 0, 0}, "VEC3")}}};
  return builder.show(primitive);
}

// Two copies of whatever a node shows.
nlohmann::json twice(GltfBuilder& builder) {
  const int places = builder.accessor<float>({0, 0, 0, 5, 0, 0}, "VEC3");
  return {{"EXT_mesh_gpu_instancing", {{"attributes", {{"TRANSLATION", places}}}}}};
}

TEST(Morphing, FollowsTheWeightsOfTheAnimation) {
  GltfBuilder builder;
  const int node = showMorphing(builder);
  builder.json["nodes"][node]["extensions"] = twice(builder);
  builder.animate<float>(node, "weights", "LINEAR", 2, {0, 0, 1, 1}, "SCALAR");
  const auto scene = builder.load();
  const auto start = scene->at(0).surfaces.at(0).geometry;
  const auto end = scene->at(1).surfaces.at(0).geometry;
  EXPECT_EQ(start->positions[1], glm::vec3(1, 0, 0));
  EXPECT_EQ(scene->at(0.5).surfaces.at(0).geometry->positions[1], glm::vec3(1, 1, 0.5F));
  EXPECT_EQ(end->positions[1], glm::vec3(1, 2, 1));
  EXPECT_EQ(end->normals[0], glm::vec3(1, 0, 0));
  const Snapshot copies = scene->at(0.5);
  ASSERT_EQ(copies.surfaces.size(), 2U);
  EXPECT_EQ(copies.surfaces[0].geometry, copies.surfaces[1].geometry) << "copies are bent once";
}

TEST(Morphing, TakesFixedWeightsFromTheNodeElseFromTheMesh) {
  GltfBuilder builder;
  const int plain = showMorphing(builder);
  builder.json["meshes"][0]["weights"] = {0.5, 0};
  builder.addNode({{"mesh", 0}, {"weights", {0, 3}}});
  builder.addNode({{"mesh", 0}, {"weights", {1e300, 0}}});
  const auto scene = builder.load();
  const Snapshot snapshot = scene->at(0);
  EXPECT_EQ(snapshot.surfaces.at(static_cast<std::size_t>(plain)).geometry->positions[1], glm::vec3(1, 1, 0));
  EXPECT_EQ(snapshot.surfaces.at(1).geometry->positions[1], glm::vec3(1, 0, 3));
  EXPECT_TRUE(glm::all(glm::lessThanEqual(snapshot.surfaces.at(2).geometry->positions[1], glm::vec3(1e9F))));
  EXPECT_EQ(snapshot.surfaces[1].geometry, scene->at(9).surfaces[1].geometry) << "nothing deforms it";
}

// The triangle hangs on two joints; the second vertex follows the second joint.
int showSkinned(GltfBuilder& builder, std::uint8_t joint) {
  auto primitive = builder.triangle();
  primitive["attributes"]["NORMAL"] = builder.accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3");
  primitive["attributes"]["JOINTS_0"] =
      builder.accessor<std::uint8_t>({0, 0, 0, 0, joint, 9, 0, 0, 0, 0, 0, 0}, "VEC4");
  primitive["attributes"]["WEIGHTS_0"] = builder.accessor<float>({1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0}, "VEC4");
  const int node = builder.show(primitive);
  builder.json["nodes"][node]["translation"] = {500, 0, 0};  // must not count
  builder.json["nodes"][node]["skin"] = 0;
  const int still = builder.addNode({{"translation", {0, 0, -1}}});
  const int moving = builder.addNode({{"translation", {1, 0, 0}}});
  std::vector<float> binds(32, 0.0F);
  for (std::size_t i = 0; i < 4; ++i) binds[5 * i] = binds[16 + 5 * i] = 1;
  binds[16 + 12] = -1;
  builder.add("skins", {{"joints", {still, moving}}, {"inverseBindMatrices", builder.accessor(binds, "MAT4")}});
  return moving;
}

TEST(Skinning, MovesVerticesByTheirJointsAlone) {
  GltfBuilder builder;
  const int moving = showSkinned(builder, 1);
  builder.json["nodes"][0]["extensions"] = twice(builder);
  const auto atRest = builder.load();
  EXPECT_EQ(atRest->at(0).surfaces.size(), 1U) << "all copies would stand in one place";
  EXPECT_EQ(atRest->at(0).surfaces.at(0).geometry, atRest->at(5).surfaces.at(0).geometry) << "no joint moves";

  builder.animate<float>(moving, "rotation", "LINEAR", 2, {0, 0, 0, 1, 1, 0, 0, 0}, "VEC4");
  builder.animate<float>(moving, "translation", "LINEAR", 2, {1, 0, 0, 1, 4, 0}, "VEC3");
  const auto scene = builder.load();
  const Surface surface = scene->at(1).surfaces.at(0);
  EXPECT_EQ(surface.toWorld, glm::mat4(1.0F));
  EXPECT_EQ(surface.geometry->positions[0], glm::vec3(0, 0, -1));
  EXPECT_LT(glm::distance(surface.geometry->positions[1], glm::vec3(1, 4, 0)), 1e-4F);
  EXPECT_EQ(surface.geometry->positions[2], glm::vec3(0, 1, -1)) << "without weights it follows its first joint";
  EXPECT_LT(glm::distance(surface.geometry->normals[1], glm::vec3(0, 0, -1)), 1e-4F);
}

TEST(Skinning, TurnsNormalsAsItsJointsTurnPlanes) {
  // The scale of the joint and where the normal 0, 0.6, 0.8 points to.
  const std::pair<std::vector<int>, glm::vec3> rows[] = {{{1, 2, 1}, {0, 0.3F, 0.8F}}, {{1, 1, -1}, {0, 0.6F, -0.8F}}};
  for (const auto& [scale, expected] : rows) {
    GltfBuilder builder;
    const int joint = showSkinned(builder, 1);
    builder.json["nodes"][joint]["scale"] = scale;
    builder.json["meshes"][0]["primitives"][0]["attributes"]["NORMAL"] =
        builder.accessor<float>({0, 0.6F, 0.8F, 0, 0.6F, 0.8F, 0, 0.6F, 0.8F}, "VEC3");
    const glm::vec3 normal = builder.load()->at(0).surfaces.at(0).geometry->normals.at(1);
    EXPECT_LT(glm::distance(normal, glm::normalize(expected)), 1e-5F) << testing::PrintToString(scale);
  }
}

}  // namespace
}  // namespace quillmere::scene
