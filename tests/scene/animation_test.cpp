#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "gltf_builder.h"
#include "scene/animation.h"

namespace quillmere::scene {
namespace {

TEST(AnimationTrack, InterpolatesBetweenKeysAndHoldsOutsideThem) {
  const Track step{0, Property::Translation, Interpolation::Step, {1, 2, 4}, {10, 20, 40}, 1};
  const Track linear{0, Property::Translation, Interpolation::Linear, {1, 2, 4}, {10, 20, 40}, 1};
  // Leaves 0 at 4 per second and arrives at 8 after two seconds with 0.
  const Track cubic{0, Property::Translation, Interpolation::CubicSpline, {1, 3}, {9, 0, 4, 0, 8, 9}, 1};
  const Track jump{0, Property::Translation, Interpolation::Linear, {1, 2, 2, 3}, {0, 10, 50, 60}, 1};
  const std::tuple<const Track&, double, float> rows[] = {
      {step, -5, 10},        {step, 1.99, 10}, {step, 2, 20},    {step, 3.9, 20}, {step, 9, 40}, {linear, 0, 10},
      {linear, 1.25, 12.5F}, {linear, 3, 30},  {linear, 99, 40}, {cubic, 0, 0},   {cubic, 2, 5}, {cubic, 1.5, 2.375F},
      {cubic, 3, 8},         {jump, 1.5, 5},   {jump, 2, 50},    {jump, 2.5, 55},
  };
  for (const auto& [track, seconds, expected] : rows) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(track.interpolation) << " at " << seconds);
    float value = -1;
    sample(track, seconds, {&value, 1});
    EXPECT_NEAR(value, expected, 1e-5F);
  }
}

TEST(AnimationTrack, TurnsAlongTheShorterArcWithUnitLength) {
  const float half = std::sqrt(0.5F);
  const std::array eighth{0.0F, 0.382683F, 0.0F, 0.92388F};
  using enum Interpolation;
  // Interpolation and values of two keys, and the value in the middle.
  const std::tuple<const char*, Interpolation, std::vector<float>, std::array<float, 4>> rows[] = {
      {"quarter turn", Linear, {0, 0, 0, 1, 0, half, 0, half}, eighth},
      {"the same with the opposite sign", Linear, {0, 0, 0, 1, 0, -half, 0, -half}, eighth},
      {"keys not of unit length", Linear, {0, 0, 0, 3, 0, 2, 0, 2}, eighth},
      {"zero", Step, {0, 0, 0, 0, 0, 0, 0, 1}, {0, 0, 0, 1}},
      {"spline", CubicSpline, {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, half, 0, half, 0, 0, 0, 0}, eighth},
  };
  for (const auto& [name, interpolation, values, middle] : rows) {
    SCOPED_TRACE(name);
    std::array<float, 4> value{};
    sample({0, Property::Rotation, interpolation, {0, 1}, values, 4}, 0.5, value);
    // q and -q are the same rotation.
    float dot = 0;
    for (std::size_t i = 0; i < 4; ++i) dot += value[i] * middle[i];
    EXPECT_NEAR(std::abs(dot), 1.0F, 1e-5F);
  }
}

TEST(Animation, MovesNodesAndWhatHangsOnThem) {
  GltfBuilder builder;
  const int child = builder.show(builder.triangle());
  builder.json["scenes"][0]["nodes"] = {1};
  builder.add("nodes", {{"children", {child}}, {"scale", {2, 2, 2}}});
  builder.animate<float>(1, "translation", "LINEAR", 3, {0, 0, 0, 10, 0, 0, 10, 0, 6}, "VEC3");
  builder.animate<std::int16_t>(child, "rotation", "STEP", 2, {0, 0, 0, 32767, 0, 0, 32767, 0}, "VEC4");
  for (auto& accessor : builder.json["accessors"]) accessor["normalized"] = accessor["componentType"] == 5122;
  const auto scene = builder.load();
  EXPECT_EQ(scene->duration(), 2.0);
  const glm::vec4 tip(1, 0, 0, 1);
  for (const auto& [seconds, expected] : std::vector<std::pair<double, glm::vec3>>{
           {0.0, {2, 0, 0}}, {0.5, {7, 0, 0}}, {1.5, {8, 0, 3}}, {7.0, {8, 0, 6}}}) {
    SCOPED_TRACE(seconds);
    const Snapshot snapshot = scene->at(seconds);
    ASSERT_EQ(snapshot.surfaces.size(), 1U);
    EXPECT_LT(glm::distance(glm::vec3(snapshot.surfaces[0].toWorld * tip), expected), 1e-4F);
    EXPECT_EQ(snapshot.surfaces[0].geometry, scene->at(0).surfaces[0].geometry)
        << "rigid geometry is shared by snapshots";
  }
}

// Three clips: the first and the third move a node each, the second both of them.
TEST(Animation, PlaysTheFirstClipAndThoseThatGoWithItOrTheOneThatIsChosen) {
  GltfBuilder builder;
  const int mast = builder.show(builder.triangle()), sail = builder.show(builder.triangle());
  builder.animate<float>(mast, "translation", "LINEAR", 3, {0, 0, 0, 1, 0, 0, 2, 0, 0}, "VEC3");
  builder.animate<float>(mast, "translation", "LINEAR", 2, {0, 5, 0, 0, 6, 0}, "VEC3");
  builder.animate<float>(sail, "translation", "LINEAR", 2, {0, 7, 0, 0, 7, 0}, "VEC3");
  auto& animations = builder.json["animations"];
  nlohmann::json channel = animations[2]["channels"][0];
  channel["sampler"] = 1;
  animations[1]["samplers"].push_back(animations[2]["samplers"][0]);
  animations[1]["channels"].push_back(channel);
  builder.animate<float>(sail, "translation", "LINEAR", 2, {0, 0, 8, 0, 0, 9}, "VEC3");
  animations.erase(2);
  animations[0]["name"] = animations[2]["name"] = "Walk";
  struct Row {
    std::optional<std::size_t> choice;
    bool loop;
    double seconds;
    glm::vec3 mast, sail;
    std::vector<bool> played;
  };
  const Row rows[] = {{{}, false, 1, {1, 0, 0}, {0, 0, 9}, {true, false, true}},
                      {{}, false, 9, {2, 0, 0}, {0, 0, 9}, {true, false, true}},
                      {1, false, 0.5, {0, 5.5F, 0}, {0, 7, 0}, {false, true, false}},
                      {0, true, 4.5, {0.5F, 0, 0}, {0, 0, 0}, {true, false, false}},
                      {0, true, -0.5, {1.5F, 0, 0}, {0, 0, 0}, {true, false, false}}};
  const TemporaryFolder folder;
  const auto file = folder.write("clips.glb", builder.glb());
  for (const Row& row : rows) {
    SCOPED_TRACE(row.seconds);
    std::vector<std::string> names;
    const auto scene = load(file, {[&](const auto& all) { return names = all, row.choice; }, row.loop});
    EXPECT_EQ(names, (std::vector<std::string>{"Walk", "Clip", "Walk.1"}));
    const Snapshot snapshot = scene->at(row.seconds);
    EXPECT_EQ(glm::vec3(snapshot.surfaces[0].toWorld[3]), row.mast);
    EXPECT_EQ(glm::vec3(snapshot.surfaces[1].toWorld[3]), row.sail);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(scene->clips()[i].played, row.played[i]) << i;
    EXPECT_EQ(scene->clips()[0].end, 2);
  }
}

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
