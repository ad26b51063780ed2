#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

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

using ::testing::HasSubstr;
using Triangle = std::array<std::array<float, 3>, 3>;

// Two squares side by side.
const std::vector<Triangle> kTriangles{{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}},
                                       {{{0, 0, 0}, {1, 1, 0}, {0, 1, 0}}},
                                       {{{1, 0, 0}, {2, 0, 0}, {2, 1, 0}}},
                                       {{{1, 0, 0}, {2, 1, 0}, {1, 1, 0}}}};
constexpr int kPoints = 6;

// The squares as Draco's encoder has compressed them (TriangleSoupMeshBuilder, Encoder): with positions of 11 bits, and
// as they stand.
constexpr const char* kEdgebreaker =
    "445241434f0202010100000006040004010002ff02ff011101ff000001000903000002010101000c03012023012003007090f8ffff01f0"
    "7f000020fdff3f000000000000ff070000000000000000000000000000000000400b";
constexpr const char* kSequential =
    "445241434f02020100000004060100010200020301040501050201010009030000000000000000000000000000000000803f0000000000"
    "0000000000803f0000803f00000000000000000000803f00000000000000400000000000000000000000400000803f00000000";

std::string bytesOf(const std::string& digits) {
  std::string bytes;
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

GltfBuilder sceneOf(const std::string& data, int points = kPoints, const std::string& type = "VEC3") {
  GltfBuilder builder;
  const int positions = builder.add("accessors", {{"componentType", 5126}, {"count", points}, {"type", type}});
  const int indices = builder.add("accessors", {{"componentType", 5123}, {"count", 12}, {"type", "SCALAR"}});
  builder.show(
      {{"attributes", {{"POSITION", positions}}},
       {"indices", indices},
       {"extensions",
        {{"KHR_draco_mesh_compression", {{"bufferView", builder.view(data)}, {"attributes", {{"POSITION", 0}}}}}}}});
  builder.json["extensionsUsed"] = builder.json["extensionsRequired"] = {"KHR_draco_mesh_compression"};
  return builder;
}

// Each beginning at its least corner, in order.
std::vector<Triangle> sorted(std::vector<Triangle> triangles) {
  for (Triangle& one : triangles) std::rotate(one.begin(), std::min_element(one.begin(), one.end()), one.end());
  std::sort(triangles.begin(), triangles.end());
  return triangles;
}

TEST(CompressedMeshes, AreThoseThatWereCompressed) {
  for (const char* digits : {kEdgebreaker, kSequential}) {
    const auto scene = sceneOf(bytesOf(digits)).load();
    EXPECT_TRUE(scene->warnings().empty());
    const auto geometry = scene->at(0).surfaces.at(0).geometry;
    std::vector<Triangle> triangles(geometry->indices.size() / 3);
    for (std::size_t i = 0; i < geometry->indices.size(); ++i) {
      const glm::vec3 corner = geometry->positions[geometry->indices[i]];
      triangles[i / 3][i % 3] = {std::round(corner.x), std::round(corner.y), std::round(corner.z)};
    }
    EXPECT_EQ(sorted(triangles), sorted(kTriangles)) << digits;
  }
}

TEST(CompressedMeshes, ThatAreDamagedAreRefusedOrStillLoaded) {
  for (const char* digits : {kEdgebreaker, kSequential}) {
    const std::string data = bytesOf(digits);
    std::string huge = data, old = data;
    huge.replace(digits == kEdgebreaker ? 12 : 11, 1, "\xFF\xFF\xFF\xFF\x0F");
    old[6] = 1;
    const std::tuple<std::string, int, const char*, const char*> rows[] = {
        {huge, kPoints, "VEC3", "more than a file of its size"},
        {old, kPoints, "VEC3", "another version"},
        {data, kPoints + 1, "VEC3", "isn't what its attributes say"},
        {data, kPoints, "VEC2", "isn't what its"},
        {"DRACO", kPoints, "VEC3", "no Draco data"},
        {data.substr(0, data.size() / 2), kPoints, "VEC3", "damaged"}};
    for (const auto& [bytes, points, type, refusal] : rows) {
      EXPECT_THAT(sceneOf(bytes, points, type).refusal(), HasSubstr(refusal));
    }
    for (std::size_t at = 0; at < data.size(); ++at) {
      std::string changed = data;
      for (const int value : {0, 0x7F, 0xFF}) {
        changed[at] = static_cast<char>(value);
        sceneOf(changed).refusal();
      }
    }
  }
}

}  // namespace
}  // namespace quillmere::scene
