#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "gltf_builder.h"
#include "refusal.h"

namespace quillmere::scene {
namespace {

using ::testing::HasSubstr;

bool isSound(glm::vec3 v) {
  return std::abs(v.x) <= 1e9F && std::abs(v.y) <= 1e9F && std::abs(v.z) <= 1e9F;
}

void expectSound(const Scene& scene, double seconds) {
  const Snapshot snapshot = scene.at(seconds);
  for (const Camera& view : snapshot.cameras) {
    for (glm::length_t axis = 0; axis < 3; ++axis) ASSERT_NEAR(glm::length(view.toWorld[axis]), 1.0F, 1e-3F);
  }
  for (const Surface& surface : snapshot.surfaces) {
    const Geometry& geometry = *surface.geometry;
    const std::size_t vertices = geometry.positions.size();
    ASSERT_LT(static_cast<std::size_t>(surface.material), scene.materials().size());
    ASSERT_EQ(geometry.indices.size() % 3, 0U);
    for (const std::uint32_t index : geometry.indices) ASSERT_LT(index, vertices);
    for (const std::size_t size : {geometry.normals.size(), geometry.uvs.size(), geometry.colors.size()})
      ASSERT_TRUE(size == 0 || size == vertices);
    for (const glm::vec3& p : geometry.positions) ASSERT_TRUE(isSound(p));
    for (const glm::vec2& uv : geometry.uvs) ASSERT_TRUE(isSound(glm::vec3(uv, 0.0F)));
    for (const glm::vec3& n : geometry.normals) ASSERT_NEAR(glm::length(n), 1.0F, 1e-3F);
    for (glm::length_t column = 0; column < 4; ++column) ASSERT_TRUE(isSound(glm::vec3(surface.toWorld[column])));
  }
}

// Loads what may be damaged: an Error is as good as a scene that can be drawn.
bool loadsOrRefuses(const std::string& glb) {
  static const TemporaryFolder folder;
  try {
    const auto scene = load(folder.write("damaged.glb", glb));
    for (const double seconds : {0.0, 0.4, 5.0}) expectSound(*scene, seconds);
    return true;
  } catch (const Error&) {
    return false;
  }
}

TEST(DamagedFiles, AreRefusedOrStillDrawable) {
  const std::string whole = richScene().glb();
  ASSERT_TRUE(loadsOrRefuses(whole));
  std::mt19937 random(20240607);
  const auto upTo = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
  const std::string favourites = "0129-\"{}[]:,e\x7F\x80\xFF";
  int drawable = 0;
  for (int round = 0; round < 600; ++round) {
    std::string bytes = whole;
    for (std::size_t edits = 1 + upTo(3); edits > 0; --edits) {
      char& victim = bytes[upTo(bytes.size() - 1)];
      victim = upTo(1) == 0 ? favourites[upTo(favourites.size() - 1)] : static_cast<char>(upTo(255));
    }
    if (loadsOrRefuses(bytes)) ++drawable;
    ASSERT_FALSE(HasFatalFailure()) << "round " << round;
  }
  EXPECT_GT(drawable, 25) << "the mutations should reach beyond the parser";
}

TEST(DamagedFiles, WithNumbersBeyondMeasureAreStillDrawable) {
  GltfBuilder builder;
  auto primitive = builder.triangle();
  primitive["attributes"]["NORMAL"] = builder.accessor<float>({1e-22F, 3e-23F, 1e-22F, 0, 1e9F, 0, 0, 0, 1}, "VEC3");
  primitive["attributes"]["TEXCOORD_0"] = builder.accessor<float>({0, 0, 1e9F, 0, 0, 1}, "VEC2");
  const nlohmann::json huge = {{"scale", {1e9, 1e9}}};
  const nlohmann::json texture = {{"index", 0}, {"extensions", {{"KHR_texture_transform", huge}}}};
  primitive["material"] = builder.add("materials", {{"pbrMetallicRoughness", {{"baseColorTexture", texture}}}});
  builder.add("textures", {{"sampler", builder.add("samplers", {{"wrapS", 33071}})}});
  builder.show(primitive);
  const int lens = builder.add("cameras", {{"type", "perspective"}, {"perspective", {{"yfov", 1}, {"znear", 1}}}});
  for (const auto& matrix :
       std::vector<std::vector<double>>{{1, 0, 0, 0, 0.3, 0.6, 0.9, 0, 0.1, 0.2, 0.3, 0, 0, 0, 0, 1},
                                        {1, 0, 0, 0, 1e-22, 3e-23, 0, 0, 1e-22, 1e-22, 7e-23, 0, 0, 0, 0, 1}}) {
    builder.addNode({{"camera", lens}, {"matrix", matrix}});
  }
  expectSound(*builder.load(), 0.0);
}

TEST(DamagedFiles, AreRefusedWhereLengthsDoNotHold) {
  const std::string whole = richScene().glb();
  for (std::size_t length = 0; length < whole.size(); length += length < 32 ? 1 : 61) {
    EXPECT_FALSE(loadsOrRefuses(whole.substr(0, length))) << length;
  }
  for (const std::size_t at : {std::size_t{8}, std::size_t{12}, whole.rfind(std::string("BIN\0", 4)) - 4}) {
    for (const auto& [byte, more] : {std::pair(0U, 4), {0U, 8}, {2U, 1}, {3U, 0x7F}}) {
      std::string lying = whole;
      lying[at + byte] = static_cast<char>(lying[at + byte] + more);
      EXPECT_FALSE(loadsOrRefuses(lying)) << "byte " << at + byte << " plus " << more;
    }
  }
}

TEST(DamagedFiles, ThatWouldExhaustTheMachineAreRefused) {
  const TemporaryFolder folder;
  const std::string head = R"({"asset":{"version":"2.0"},)";
  std::string samplers = R"({"input":0,"output":0})";
  for (int i = 0; i < 2000; ++i) samplers += R"(,{"input":0,"output":0})";
  const auto many = [&](const char* before, const std::string& value, int count, const char* after) {
    std::string text = head + before + value;
    for (int i = 1; i < count; ++i) text += "," + value;
    return text + after;
  };
  const std::vector<std::pair<std::string, const char*>> rows{
      {head + R"("extras":)" + std::string(200000, '['), "levels deep"},
      {head + R"("buffers":[{"byteLength":2147483648},{"byteLength":2}]})", "more than 2 GiB"},
      {head + R"("animations":[{"extensions":{"X":{"a":")" + std::string(2000, 'x') + R"("}},"samplers":[)" + samplers +
           "]}]}",
       "too large"},
      {many(R"("extras":[)", "1", 600000, "]}"), "'extras' hold more values"},
      {many(R"("nodes":[{"extensions":{"X":{"Y":[)", "1", 600000, "]}}}]}"), "'nodes' hold more values"},
      {many(R"("materials":[)", "{}", 100000, "]}"), "'materials' hold more values"},
      {many(R"("meshes":[{"primitives":[)", "{}", 300000, "]}]}"), "'meshes' hold more values"},
      {"{\"asset\":", "damaged"},
      {"not json", "damaged"},
      {"[1,2,3,4]", "no asset version"},
      {"", "damaged"},
  };
  for (const auto& [document, refusal] : rows) {
    SCOPED_TRACE(document.substr(0, 60));
    EXPECT_THAT(refusalOf<Error>([&, &text = document] { load(folder.write("bomb.gltf", text)); }), HasSubstr(refusal));
  }
}

// Shows the mesh 0 by so many nodes, each of which says the same besides.
void showOften(GltfBuilder& builder, std::size_t times, nlohmann::json node) {
  node["mesh"] = 0;
  builder.json["nodes"] = std::vector<nlohmann::json>(times, node);
  for (std::size_t i = 0; i < times; ++i) builder.json["scenes"][0]["nodes"].push_back(i);
}

// Zeros, of which a file needs to hold none.
int zeros(GltfBuilder& builder, std::size_t count) {
  return builder.add("accessors", {{"componentType", 5126}, {"count", count}, {"type", "VEC3"}});
}

TEST(DamagedFiles, OfFewBytesThatStandForTooMuchAreRefused) {
  using Change = void (*)(GltfBuilder&, nlohmann::json&);  // of the mesh that is shown
  const std::pair<Change, const char*> rows[] = {
      {[](auto& b, auto& mesh) {
         mesh["primitives"][0]["attributes"]["POSITION"] = zeros(b, 6000000);
         showOften(b, 1, {});
       },
       "more than 64 MiB"},
      {[](auto& b, auto&) {
         showOften(b, 1,
                   {{"extensions", {{"EXT_mesh_gpu_instancing", {{"attributes", {{"SCALE", zeros(b, 3000000)}}}}}}}});
       },
       "two million instances"},
      {[](auto& b, auto& mesh) {
         const int positions = mesh["primitives"][0]["attributes"]["POSITION"] = zeros(b, 50000);
         mesh["primitives"][0]["targets"] = std::vector<nlohmann::json>(100, {{"POSITION", positions}});
         showOften(b, 250, {});
       },
       "too many vertices"},
      {[](auto& b, auto& mesh) {
         mesh["primitives"][0]["attributes"]["JOINTS_0"] =
             b.template accessor<std::uint8_t>(std::vector<std::uint8_t>(12), "VEC4");
         mesh["primitives"][0]["attributes"]["WEIGHTS_0"] = b.template accessor<float>(std::vector<float>(12), "VEC4");
         b.add("skins", {{"joints", std::vector<int>(7000)}});
         showOften(b, 10000, {{"skin", 0}});
       },
       "too many vertices"},
      {[](auto& b, auto& mesh) {
         mesh["weights"] = std::vector<int>(2000);
         showOften(b, 10000, {});
       },
       "16 million weights"},
  };
  for (const auto& [change, refusal] : rows) {
    GltfBuilder builder;
    nlohmann::json mesh = {{"primitives", {builder.triangle()}}};
    change(builder, mesh);
    builder.add("meshes", mesh);
    EXPECT_THAT(builder.refusal(), HasSubstr(refusal));
  }
}

}  // namespace
}  // namespace quillmere::scene
