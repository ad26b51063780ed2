#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "gltf_builder.h"

namespace quillmere::scene {
namespace {

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
