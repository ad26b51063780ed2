#include "render/passes.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <limits>

#include "hand_made_scene.h"
#include "render/renderer.h"
#include "scene/gltf_builder.h"

namespace quillmere::render {
namespace {

constexpr int kSide = 21;              // pixels
constexpr float kAngle = 0.92729522F;  // of view, whose half has a tangent of one half
constexpr float kInfinity = std::numeric_limits<float>::infinity();
const PassSet kAll{Pass::Color, Pass::Depth, Pass::Normal, Pass::Position, Pass::Object, Pass::Material, Pass::Albedo};

using ScenePointer = std::shared_ptr<HandMadeScene>;

PassRequest asking(const PassSet& passes, const DepthTone& tone = {}) {
  PassRequest request;
  request.passes = passes;
  request.tone = tone;
  return request;
}

Passes drawn(const ScenePointer& scene, const scene::Camera& camera, const PassRequest& request) {
  Renderer renderer(scene);
  renderer.pose(0.0);
  return renderer.drawPasses(camera, kSide, kSide, request).value();
}

scene::Camera ahead() {
  return perspective({0, 0, 5}, {0, 0, 0}, kAngle);
}
scene::Camera parallel() {
  return orthographic({0, 0, 5}, {0, 0, 0}, 2.0F);
}

glm::vec3 vectorAt(const image::Image& plane, int x, int y) {
  const float* values = plane.pixel<float>(x, y);
  return {values[0], values[1], values[2]};
}

float shareOf(const Passes& passes, const char* object) {
  return *coverageOf(passes.objects, image::matteId(object)).pixel<float>(kSide / 2, kSide / 2);
}

TEST(Passes, TellWhatIsInTheMiddleOfThePicture) {
  const scene::Material front = scene::Material{};
  scene::Material both = front, hole = front;
  both.doubleSided = true;
  hole.alpha = scene::Material::Alpha::Mask;
  hole.baseColor.a = 0.4F;
  const glm::mat4 one(1.0F), mirrored = glm::scale(one, {-1, 1, 1});
  const glm::mat4 tilted = glm::rotate(one, glm::radians(-45.0F), glm::vec3(1, 0, 0));
  const glm::mat4 turned = glm::rotate(one, glm::pi<float>(), glm::vec3(0, 1, 0));
  const glm::vec3 none(0.0F), towards(0, 0, 1), up(0, std::sqrt(0.5F), std::sqrt(0.5F));
  struct Row {
    const char* what;
    scene::Camera camera;
    ScenePointer scene;
    float depth;
    glm::vec3 normal, position;
  };
  for (const Row& row :
       {Row{"wall", ahead(), sceneOf(wall(), moved(0, 0, 1)), 4, towards, {0, 0, 1}},
        Row{"parallel", parallel(), sceneOf(wall(), moved(0, 0, -1)), 6, towards, {0, 0, -1}},
        Row{"from the side", perspective({7, 0, 0}, {0, 0, 0}, kAngle), sceneOf(ball()), 6, towards, {1, 0, 0}},
        Row{"mirrored", ahead(), sceneOf(wall(), mirrored), 5, towards, none},
        Row{"tilted", ahead(), sceneOf(wall(), tilted), 5, up, none},
        Row{"its back", ahead(), sceneOf(wall(), turned), kInfinity, none, none},
        Row{"both sides", ahead(), sceneOf(wall(), turned, both), 5, towards, none},
        Row{"a hole", ahead(), sceneOf(wall(), one, hole), kInfinity, none, none},
        Row{"thin glass", ahead(), sceneOf(wall(), one, glass({1, 1, 1}, 0.4F)), kInfinity, none, none},
        Row{"thick glass", ahead(), sceneOf(wall(), one, glass({1, 1, 1}, 0.6F)), 5, towards, none},
        Row{"nothing", ahead(), std::make_shared<HandMadeScene>(), kInfinity, none, none}}) {
    SCOPED_TRACE(row.what);
    const Passes passes = drawn(row.scene, row.camera, asking(kAll));
    const int middle = kSide / 2;
    const float depth = *passes.depth.pixel<float>(middle, middle);
    if (std::isinf(row.depth)) {
      EXPECT_EQ(depth, row.depth);
    } else {
      EXPECT_NEAR(depth, row.depth, 0.1F);  // the nearest of samples up to half a pixel off
    }
    EXPECT_LT(glm::distance(vectorAt(passes.normal, middle, middle), row.normal), 0.01F);
    EXPECT_LT(glm::distance(vectorAt(passes.position, middle, middle), row.position), 0.15F);
    EXPECT_EQ(passes.normal.pixel<float>(middle, middle)[3], std::isinf(row.depth) ? 0.0F : 1.0F);
  }
}

TEST(Passes, AreExactAcrossAWallAndABall) {
  const Passes flat = drawn(sceneOf(wall(), moved(0, 0, 1)), ahead(), asking(kAll));
  const Passes round = drawn(sceneOf(ball()), parallel(), asking(kAll));
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      SCOPED_TRACE(testing::Message() << x << ", " << y);
      ASSERT_NEAR(*flat.depth.pixel<float>(x, y), 4.0F, 1e-4F) << "along the axis, not along the ray";
      const glm::vec2 seen = (glm::vec2(x, -y) + glm::vec2(0.5F - kSide / 2.0F, kSide / 2.0F - 0.5F)) / (kSide / 4.0F);
      const float squared = glm::dot(seen, seen);
      EXPECT_LT(glm::distance(vectorAt(flat.position, x, y), glm::vec3(seen, 1)), 0.1F);  // 4 m are seen there
      if (squared > 0.7F) continue;
      EXPECT_LT(glm::distance(vectorAt(round.normal, x, y), glm::vec3(seen, std::sqrt(1 - squared))), 0.05F);
      EXPECT_NEAR(*round.depth.pixel<float>(x, y), 5 - std::sqrt(1 - squared), 0.12F);
    }
  }
}

TEST(Passes, ToneIsWhiteNearBlackFarAndBlackBehindEverything) {
  struct Row {
    DepthTone tone;
    float expected;
  };
  const auto inverse = DepthTone::Kind::Inverse, linear = DepthTone::Kind::Linear;
  for (const Row& row : {Row{{inverse, {2, 8}}, 1.0F / 3}, Row{{linear, {2, 8}}, 2.0F / 3}, Row{{inverse, {4, 9}}, 1},
                         Row{{inverse, {5, 9}}, 1}, Row{{linear, {1, 3}}, 0}, Row{{inverse, {1, 3}}, 0}}) {
    for (const scene::Camera& camera : {ahead(), parallel()}) {
      const Passes passes =
          drawn(sceneOf(rectangle(0, -50, 50, 50), moved(0, 0, 1)), camera, asking({Pass::Depth}, row.tone));
      EXPECT_NEAR(*passes.tone.pixel<float>(kSide - 1, 3), row.expected, 1e-4F);
      EXPECT_NEAR(*passes.tone.pixel<float>(kSide / 2, 3), row.expected / 2, 1e-4F) << "anti-aliased";
      EXPECT_EQ(*passes.tone.pixel<float>(0, 3), 0.0F);
      EXPECT_TRUE(passes.lines.empty() && passes.normal.empty() && passes.objects.empty()) << "drawn in vain";
    }
  }
}

TEST(Passes, MattesShareAPixelByAreaAndByOpacity) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->things = {"Pane", "Left", "Right"};
  const int pane = scene->addMaterial(glass({1, 0, 0}, 0.25F)), grey = scene->addMaterial(colored({0.5F, 0.5F, 0.5F}));
  scene->kinds[static_cast<std::size_t>(pane)].name = "Glass";
  scene->add(rectangle(-50, 0, 50, 50), pane, moved(0, 0, 1));
  scene->add(rectangle(-50, -50, 0, 50), grey);
  scene->add(rectangle(0.0F, -50, 50, 50), grey);
  for (int i = 0; i < 3; ++i) scene->now.surfaces[static_cast<std::size_t>(i)].object = i;
  const Passes passes = drawn(scene, ahead(), asking(kAll));
  EXPECT_NEAR(shareOf(passes, "Left"), 0.4375F, 1e-5F);
  EXPECT_NEAR(shareOf(passes, "Right"), 0.4375F, 1e-5F);
  EXPECT_NEAR(shareOf(passes, "Pane"), 0.125F, 1e-5F);
  EXPECT_NEAR(*coverageOf(passes.materials, image::matteId("default")).pixel<float>(10, 10), 0.875F, 1e-5F);
  EXPECT_NEAR(*coverageOf(passes.materials, image::matteId("Glass")).pixel<float>(10, 10), 0.125F, 1e-5F);
  EXPECT_EQ(foremostId(passes.objects, 2, 2), image::matteId("Left"));
  EXPECT_EQ(foremostId(passes.objects, 18, 2), image::matteId("Right"));
  const float* ranks = passes.objects.front().pixel<float>(18, 2);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(ranks[2]), image::matteId("Pane")) << "ranks fall";
  const Passes open =
      drawn(sceneOf(rectangle(-50, -50, 0, 50), glm::mat4(1.0F), glass({1, 1, 1}, 0.3F)), ahead(), asking(kAll));
  EXPECT_EQ(foremostId(open.objects, 2, 2), 0U) << "mostly background";
  EXPECT_NEAR(open.color.pixel<float>(2, 2)[3], 0.3F, 1e-5F);
  EXPECT_NEAR(open.albedo.pixel<float>(2, 2)[0], 0.3F, 1e-5F) << "multiplied with alpha";
}

TEST(Passes, FollowGeometryThatDeforms) {
  const ScenePointer scene = sceneOf(wall());
  Renderer renderer(scene);
  for (const float reach : {0.0F, 2.0F}) {
    auto bent = wall();
    for (glm::vec3& corner : bent->positions) corner.z += reach;
    scene->now.surfaces.front().geometry = bent;
    renderer.pose(static_cast<double>(reach));
    const auto passes = renderer.drawPasses(ahead(), kSide, kSide, asking({Pass::Depth}));
    EXPECT_NEAR(*passes->depth.pixel<float>(3, 3), 5.0F - reach, 1e-4F);
  }
}

// A wall that a morph target moves by half a metre and a joint turns by 45 degrees and moves by one metre, in a second.
std::shared_ptr<const scene::Scene> carriedWall() {
  scene::GltfBuilder builder;
  const auto corners = [&](const std::vector<float>& numbers) { return builder.accessor<float>(numbers, "VEC3"); };
  const nlohmann::json attributes{
      {"POSITION", corners({-200, -100, 0, 200, -100, 0, 0, 300, 0})},
      {"NORMAL", corners({0, 0, 1, 0, 0, 1, 0, 0, 1})},
      {"JOINTS_0", builder.accessor<std::uint8_t>(std::vector<std::uint8_t>(12, 0), "VEC4")},
      {"WEIGHTS_0", builder.accessor<float>({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4")}};
  const nlohmann::json target{{"POSITION", corners({0, 0, 0.5F, 0, 0, 0.5F, 0, 0, 0.5F})}};
  const int node = builder.show({{"attributes", attributes}, {"targets", nlohmann::json::array({target})}});
  const int joint = builder.addNode(nlohmann::json::object());
  builder.add("skins", {{"joints", {joint}}});
  builder.json["nodes"][node]["skin"] = 0;
  builder.animate<float>(node, "weights", "LINEAR", 2, {0, 1}, "SCALAR");
  builder.animate<float>(joint, "translation", "LINEAR", 2, {0, 0, 0, 0, 0, 1}, "VEC3");
  const float half = glm::radians(22.5F);
  builder.animate<float>(joint, "rotation", "LINEAR", 2, {0, 0, 0, 1, std::sin(half), 0, 0, std::cos(half)}, "VEC4");
  return builder.load();
}

TEST(Passes, AreExactOnWhatJointsAndMorphTargetsMove) {
  Renderer renderer(carriedWall());
  const float diagonal = std::sqrt(0.5F);
  struct Row {
    double seconds;
    glm::vec3 normal;
    float distance;  // of the plane from the origin, along its normal
  };
  for (const Row& row : {Row{0.0, {0, 0, 1}, 0.0F}, Row{1.0, {0, -diagonal, diagonal}, 0.5F + diagonal}}) {
    renderer.pose(row.seconds);
    const auto passes = renderer.drawPasses(ahead(), kSide, kSide, asking(kAll));
    for (int y = 0; y < kSide; ++y) {
      SCOPED_TRACE(testing::Message() << row.seconds << " s, line " << y);
      const glm::vec3 place = vectorAt(passes->position, 3, y);
      const float depth = *passes->depth.pixel<float>(3, y);
      ASSERT_LT(glm::distance(vectorAt(passes->normal, 3, y), row.normal), 1e-4F);
      ASSERT_NEAR(glm::dot(place, row.normal), row.distance, 1e-3F);
      ASSERT_NEAR(depth, 5.0F - place.z, 1e-3F);
      ASSERT_NEAR(place.y / depth, (0.5F * kSide - 0.5F - static_cast<float>(y)) / kSide, 0.5F / kSide) << "its pixel";
    }
  }
}

TEST(Passes, LeaveThePictureAsItIs) {
  const ScenePointer scene = sceneOf(ball(), glm::mat4(1.0F), glass({1, 0.5F, 0}, 0.8F));
  Renderer renderer(scene);
  renderer.pose(0.0);
  PassRequest request = asking(kAll);
  request.passes.add(Pass::Picture);
  const auto passes = renderer.drawPasses(ahead(), kSide, kSide, request);
  const image::Image alone = renderer.drawQuick(ahead(), kSide, kSide);
  for (int y = 0; y < kSide; ++y) {
    const std::uint8_t* row = alone.row<std::uint8_t>(y);
    EXPECT_TRUE(std::equal(row, row + 3 * kSide, passes->picture.row<std::uint8_t>(y))) << y;
  }
}

// What blends is shaded point by point, what doesn't four at a time where a packet met one triangle.
TEST(QuickPicture, IsTheSameHoweverManyPointsAreShadedAtOnce) {
  auto bent = wall();
  bent->normals = {{1, 0, 1}, {0, 1, 1}, {-1, 0, 1}, {0, -1, 2}};
  bent->colors = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}, {1, 1, 1, 1}};
  scene::Material one = colored({0.9F, 0.8F, 0.7F}), other = glass({0.9F, 0.8F, 0.7F}, 1.0F);
  for (scene::Material* material : {&one, &other}) {
    auto checks = std::make_shared<image::Image>(2, 2, 4, image::Sample::Byte);
    for (int i = 0; i < 16; ++i)
      checks->row<std::uint8_t>(0)[i] = static_cast<std::uint8_t>(255 - 10 * i * (i % 4 != 3));
    material->texture.picture = checks;
  }
  const glm::mat4 tilted = glm::rotate(glm::mat4(1.0F), glm::radians(40.0F), glm::vec3(1, 1, 0));
  Renderer together(sceneOf(bent, tilted, one)), single(sceneOf(bent, tilted, other));
  for (Renderer* renderer : {&together, &single}) renderer->pose(0.0);
  const image::Image a = together.drawQuick(ahead(), kSide, kSide), b = single.drawQuick(ahead(), kSide, kSide);
  int sum = 0;
  for (int i = 0; i < 3 * kSide * kSide; ++i) sum += std::abs(a.row<std::uint8_t>(0)[i] - b.row<std::uint8_t>(0)[i]);
  EXPECT_LE(sum, 3 * kSide * kSide / 255) << "a mean of a 255th of a step";
  EXPECT_NE(a.row<std::uint8_t>(2)[6], a.row<std::uint8_t>(kSide - 3)[6]) << "nothing to be wrong about";
}

TEST(Depths, AreThoseOfTheNearestSample) {
  scene::Material both;
  both.doubleSided = true;
  for (const float side : {1.0F, -1.0F}) {  // a wall that goes away to one side, whose samples are all apart
    const glm::mat4 slope = glm::rotate(glm::mat4(1.0F), side * glm::radians(60.0F), glm::vec3(0, 1, 0));
    const Passes passes = drawn(sceneOf(wall(), slope, both), ahead(), asking({Pass::Depth, Pass::Position}));
    for (int x = kSide / 4; x < 3 * kSide / 4; ++x) {
      const float across = (2.0F * (static_cast<float>(x) + 0.5F) / kSide - 1.0F) * std::tan(0.5F * kAngle);
      const float middle = 2.5F / (0.5F - side * across * std::sin(glm::radians(60.0F)));
      const float depth = *passes.depth.pixel<float>(x, kSide / 2);
      EXPECT_LT(depth, middle) << x;
      EXPECT_GT(depth, 0.9F * middle) << x;
      EXPECT_NEAR(vectorAt(passes.position, x, kSide / 2).z, 5.0F - depth, 1e-4F) << x;
    }
  }
}

TEST(Depths, OfWhatIsSeenAreMeasured) {
  const ScenePointer scene = sceneOf(ball());
  scene->add(wall(), 0, moved(0, 0, -3));
  Renderer renderer(scene);
  renderer.pose(0.0);
  const auto seen = renderer.seenDepths(ahead(), 1.5);
  ASSERT_TRUE(seen);
  EXPECT_NEAR(seen->near, 4.0F, 0.01F);
  EXPECT_NEAR(seen->far, 8.0F, 0.01F);
  EXPECT_FALSE(renderer.seenDepths(perspective({0, 0, 5}, {0, 0, 9}, kAngle), 1.5)) << "nothing to see";
}

}  // namespace
}  // namespace quillmere::render
