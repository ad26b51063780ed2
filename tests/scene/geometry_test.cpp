#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gltf_builder.h"
#include "scene/geometry_import.h"

namespace quillmere::scene {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TriangleAssembly, KeepsTheWindingOfEachMode) {
  EXPECT_THAT(assembleTriangles(TINYGLTF_MODE_TRIANGLES, {0, 1, 2, 3, 4}), ElementsAre(0, 1, 2));
  EXPECT_THAT(assembleTriangles(TINYGLTF_MODE_TRIANGLE_STRIP, {5, 6, 7, 8, 9}), ElementsAre(5, 6, 7, 6, 8, 7, 7, 8, 9));
  EXPECT_THAT(assembleTriangles(TINYGLTF_MODE_TRIANGLE_FAN, {5, 6, 7, 8}), ElementsAre(6, 7, 5, 7, 8, 5));
  EXPECT_THAT(assembleTriangles(TINYGLTF_MODE_TRIANGLE_STRIP, {1, 2}), IsEmpty());
}

TEST(Geometry, IsSharedByTheNodesThatShowIt) {
  GltfBuilder builder;
  const int first = builder.show(builder.triangle());
  builder.addNode({{"mesh", 0}, {"scale", {-1, 1, 1}}});
  builder.addNode({{"mesh", 0}, {"scale", {0, 0, 0}}});
  builder.addNode({{"mesh", 0}, {"matrix", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}}});
  builder.json["nodes"][first]["translation"] = {1e30, 0, 0};
  const Snapshot snapshot = builder.load()->at(0);
  ASSERT_EQ(snapshot.surfaces.size(), 3U) << "a matrix that can't be inverted leaves nothing to trace";
  EXPECT_EQ(snapshot.surfaces[0].geometry, snapshot.surfaces[1].geometry);
  EXPECT_EQ(snapshot.surfaces[0].toWorld[3].x, 1e9F);
  EXPECT_LT(glm::determinant(snapshot.surfaces[1].toWorld), 0.0F);
  for (const Surface& surface : snapshot.surfaces) EXPECT_NE(glm::determinant(surface.toWorld), 0.0F);
}

TEST(Geometry, ReadsEveryAttributeInItsQuantizedForms) {
  GltfBuilder builder;
  builder.json["extensionsUsed"] = builder.json["extensionsRequired"] = {"KHR_mesh_quantization"};
  builder.show({{"mode", 5},
                {"indices", builder.accessor<std::uint8_t>({0, 1, 2, 0}, "SCALAR")},
                {"attributes",
                 {{"POSITION", builder.accessor<std::int16_t>({0, 0, -4, 8, 0, 0, 0, 8, 0}, "VEC3")},
                  {"NORMAL", builder.accessor<std::int8_t>({0, 0, 127, 0, 0, 64, 0, 0, 0}, "VEC3")},
                  {"COLOR_0", builder.accessor<std::uint8_t>({255, 0, 51, 0, 0, 0, 255, 255, 255}, "VEC3")}}}});
  for (int i : {2, 3}) builder.json["accessors"][i]["normalized"] = true;
  const auto scene = builder.load();
  const Geometry& geometry = *scene->at(0).surfaces.at(0).geometry;
  EXPECT_THAT(geometry.indices, ElementsAre(0, 1, 2, 1, 0, 2));
  EXPECT_EQ(geometry.positions[0], glm::vec3(0, 0, -4));
  EXPECT_EQ(geometry.normals[1], glm::vec3(0, 0, 1)) << "made unit length";
  EXPECT_EQ(glm::length(geometry.normals[2]), 1.0F) << "even where there is none";
  EXPECT_EQ(geometry.colors[0], glm::vec4(1, 0, 0.2F, 1));
  EXPECT_TRUE(scene->warnings().empty());
}

TEST(Geometry, StandsWhereGpuInstancesPutIt) {
  GltfBuilder builder;
  const int node = builder.show(builder.triangle());
  builder.json["extensionsUsed"] = builder.json["extensionsRequired"] = {"EXT_mesh_gpu_instancing"};
  builder.json["nodes"][node]["translation"] = {100, 0, 0};
  auto& attributes = builder.json["nodes"][node]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"];
  attributes["TRANSLATION"] = builder.accessor<float>({1, 0, 0, 2, 0, 0}, "VEC3");
  attributes["SCALE"] = builder.accessor<float>({1, 1, 1, 5, 5, 5}, "VEC3");
  const Snapshot snapshot = builder.load()->at(0);
  ASSERT_EQ(snapshot.surfaces.size(), 2U);
  EXPECT_EQ(snapshot.surfaces[1].toWorld * glm::vec4(1, 0, 0, 1), glm::vec4(107, 0, 0, 1));
}

}  // namespace
}  // namespace quillmere::scene
