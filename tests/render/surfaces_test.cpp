// What surfaces look like under the rules of glTF 2.0: what they give off, from which side they are seen, how they
// reflect.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>

#include "render/ray_scene.h"
#include "small_picture.h"

namespace quillmere::render {
namespace {

glm::vec3 middleOf(const std::shared_ptr<HandMadeScene>& scene, Kind kind) {
  return lightAround(picture(scene, orthographic({0, 0, 5}, {0, 0, 0}, 1.0F), 16, 16, kind), 8, 8, 2);
}

scene::Material glowing(glm::vec3 emission) {
  scene::Material material = colored({0, 0, 0});
  material.emission = emission;
  return material;
}

TEST(Emission, IsSeenInItsHueHoweverStrong) {
  for (const Kind kind : {Kind::Quick, Kind::Final}) {
    for (const float strength : {0.3F, 1.0F, 30.0F}) {
      SCOPED_TRACE(strength);
      auto scene = std::make_shared<HandMadeScene>();
      scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(glowing(strength * glm::vec3(0.1F, 0.9F, 0.3F))));
      const glm::vec3 seen = middleOf(scene, kind);
      EXPECT_GT(seen.g, 0.2F);
      EXPECT_TRUE(seen.g > seen.b && seen.b > seen.r) << seen.r << " " << seen.g << " " << seen.b;
    }
  }
}

TEST(Emission, LightsWhatIsAroundInTheFinalPictureAlone) {
  auto scene = greyGround();
  const image::Image dark = plan(scene);
  scene->add(cube(0.6F), scene->addMaterial(glowing({4, 0, 0})), moved(-1.2F, 0.3F, 0));
  const image::Image lit = plan(scene);
  const auto redness = [](glm::vec3 light) { return light.r / light.b; };
  EXPECT_GT(redness(lightAt(lit, -0.6F, 0)), 1.3F * redness(lightAt(dark, -0.6F, 0)));
  EXPECT_LT(redness(lightAt(lit, 1.6F, 0)), 1.2F * redness(lightAt(dark, 1.6F, 0)));
}

// A wall at z = 0 that faces +Z, before a red one.
std::shared_ptr<HandMadeScene> wallBeforeRed(bool doubleSided) {
  auto scene = std::make_shared<HandMadeScene>();
  scene::Material wall = colored({0, 0.6F, 0});
  wall.doubleSided = doubleSided;
  scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(wall));
  scene::Material red = unlit({1, 0, 0});
  red.doubleSided = true;
  const int behind = scene->addMaterial(red);
  for (const float z : {-1.0F, 1.0F}) {
    scene->add(rectangle(-2, -2, 2, 2), behind, moved(0, 0, z));
  }
  return scene;
}

TEST(SingleSided, FacesAreSeenFromTheirFrontAloneUnlessTheyAreToBeShownFromBoth) {
  struct Row {
    bool doubleSided;
    Sides sides;
    float scale, from;  // across, which mirrors when it is negative; where the camera stands
    bool seen;
  };
  for (const Row& row : {Row{false, Sides::AsMaterialsSay, 1, 0.5F, true},
                         {false, Sides::AsMaterialsSay, 1, -0.5F, false},
                         {false, Sides::AsMaterialsSay, -1, 0.5F, true},
                         {false, Sides::AsMaterialsSay, -1, -0.5F, false},
                         {true, Sides::AsMaterialsSay, 1, -0.5F, true},
                         {false, Sides::Both, 1, -0.5F, true}}) {
    auto scene = wallBeforeRed(row.doubleSided);
    scene->now.surfaces[0].toWorld[0].x = row.scale;
    Renderer renderer(scene, row.sides);
    renderer.pose(0.0);
    const scene::Camera view = orthographic({0, 0, row.from}, {0, 0, 0}, 0.5F);
    for (const image::Image& drawn : {renderer.drawQuick(view, 8, 8), renderer.drawFinal(view, 8, 8)}) {
      const glm::vec3 seen = lightAround(drawn, 4, 4, 1);
      EXPECT_EQ(seen.g > seen.r, row.seen) << row.doubleSided << " " << row.scale << " " << row.from;
    }
  }
}

TEST(SingleSided, BacksBesideFrontsInOnePlaneHideNoFront) {
  auto scene = std::make_shared<HandMadeScene>();
  const glm::mat4 turned = glm::rotate(glm::mat4(1.0F), glm::radians(180.0F), glm::vec3(0, 1, 0));
  scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(colored({0, 0.6F, 0})), turned);
  scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(colored({0.6F, 0, 0})));
  EXPECT_GT(middleOf(scene, Kind::Quick).r, 0.2F);
}

TEST(SingleSided, LightFromBehindPassesAndLightFromTheFrontIsStopped) {
  for (const bool facingUp : {true, false}) {
    auto scene = greyGround();
    scene->now.lights.push_back(lamp(scene::Light::Kind::Directional, {}, {0, -1, 0}));
    scene->add(ground(1), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})),
               glm::scale(moved(0, 1, 0), glm::vec3(1, facingUp ? 1 : -1, 1)));
    scene::Camera view = fromAbove();
    view.znear = 19.5F;
    if (!facingUp) std::swap(scene->now.surfaces[1].toWorld[0], scene->now.surfaces[1].toWorld[2]);
    const image::Image drawn = picture(scene, view, kPlanSide, kPlanSide, Kind::Final);
    const float under = brightness(lightAt(drawn, 0, 0)), beside = brightness(lightAt(drawn, 1.5F, 0));
    EXPECT_LT(under, beside * (facingUp ? 0.6F : 1.1F));
    EXPECT_GT(under, beside * (facingUp ? 0.0F : 0.7F));
  }
}

float hueOf(glm::vec3 light) {
  return glm::degrees(std::atan2(std::sqrt(3.0F) * (light.y - light.z), 2.0F * light.x - light.y - light.z));
}

TEST(ViewTransform, KeepsHuesUnderTheDefaultLightHoweverExposed) {
  for (const glm::vec3 color : {glm::vec3(0.8F, 0.3F, 0.05F), {0.1F, 0.5F, 0.1F}, {0.05F, 0.2F, 0.7F}}) {
    for (const float stops : {-1.0F, 0.0F, 2.0F}) {
      auto scene = std::make_shared<HandMadeScene>();
      scene->add(ground(40), scene->addMaterial(colored(color)));
      Renderer renderer(scene);
      renderer.pose(0.0);
      FinalSettings settings;
      settings.exposure = stops;
      const image::Image drawn = renderer.drawFinal(fromAbove(), 16, 16, settings);
      EXPECT_NEAR(hueOf(lightAround(drawn, 8, 8, 3)), hueOf(color), 8.0F) << color.x << " " << stops;
    }
  }
}

TEST(Exposure, StaysWhenSomethingPassesALamp) {
  auto scene = greyGround();
  scene->now.lights.push_back(lamp(scene::Light::Kind::Point, {-1.2F, 1.5F, 0}, {0, -1, 0}));
  scene->add(cube(0.4F), 0, moved(30, 1.5F, 0));
  Renderer renderer(scene);
  renderer.pose(0.0);
  const float before = brightness(lightAt(renderer.drawFinal(fromAbove(), kPlanSide, kPlanSide), -1.2F, 1.2F));
  scene->now.surfaces[1].toWorld[3] = {-0.6F, 1.5F, 0, 1};
  renderer.pose(1.0);
  const float after = brightness(lightAt(renderer.drawFinal(fromAbove(), kPlanSide, kPlanSide), -1.2F, 1.2F));
  EXPECT_NEAR(after, before, 0.06F * before);
}

TEST(FinalSettings, SayWhatLightsTheSceneAndWhatIsBehindIt) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(colored({0.5F, 0.5F, 0.5F})));
  scene::Material pane = glass({0, 0, 0}, 0.5F);
  pane.unlit = true;
  scene->add(rectangle(1.25F, -2, 2, 2), scene->addMaterial(pane));
  Renderer renderer(scene);
  renderer.pose(0.0);
  auto panorama = std::make_shared<image::Image>(4, 2, 3, image::Sample::Float);
  for (int i = 0; i < 24; ++i) panorama->row<float>(0)[i] = i % 3 == 0 ? 1.0F : 0.0F;
  FinalSettings normal, brighter, scenes, none, red, colored;
  brighter.exposure = 1.0F;
  scenes.light = Lighting::Scene;
  none.light = Lighting::None;
  red.panorama = panorama;
  colored.background = glm::vec3(0, 0, 0.5F);
  const auto drawn = [&](const FinalSettings& settings, int x) {
    const scene::Camera view = orthographic({0, 0, 5}, {0, 0, 0}, 2.0F);
    return lightAround(renderer.drawFinal(view, 32, 32, settings), x, 16, 1);
  };
  const auto wall = [&](const FinalSettings& settings) { return drawn(settings, 16); };
  const float usual = wall(normal).g;
  EXPECT_GT(wall(brighter).g, 1.5F * usual);
  EXPECT_LT(wall(scenes).g, 0.01F);
  EXPECT_LT(wall(none).g, 0.8F * usual);
  EXPECT_GT(wall(none).g, 0.1F * usual);
  EXPECT_GT(wall(red).r, 10.0F * wall(red).g);
  EXPECT_GT(drawn(red, 2).r, 0.7F);
  EXPECT_NEAR(drawn(red, 29).r, 0.5F * drawn(red, 2).r, 0.02F);
  EXPECT_NEAR(drawn(colored, 2).b, 0.5F, 0.01F);
  EXPECT_NEAR(wall(colored).g, usual, 0.02F);
}

scene::Material metal(bool isMetal) {
  scene::Material material = colored({0.9F, 0.6F, 0.3F});
  material.metallic = isMetal ? 1.0F : 0.0F;
  material.roughness = isMetal ? 0.1F : 1.0F;
  return material;
}

TEST(Metal, MirrorsAStudioInTheQuickPicture) {
  const glm::mat4 back = glm::rotate(glm::mat4(1.0F), glm::radians(-20.0F), glm::vec3(1, 0, 0));
  float contrast[2];
  for (const bool isMetal : {false, true}) {
    auto scene = std::make_shared<HandMadeScene>();
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(metal(isMetal)), back);
    const glm::vec3 above = middleOf(scene, Kind::Quick);
    scene->now.surfaces[0].toWorld = glm::inverse(back);
    contrast[isMetal ? 1 : 0] = above.g / middleOf(scene, Kind::Quick).g;
    EXPECT_GT(above.r, 1.4F * above.b);
  }
  EXPECT_GT(contrast[1], 1.3F * contrast[0]);
}

TEST(Metal, MirrorsWhatIsThereInTheFinalPicture) {
  float redness[2];
  for (const bool isMetal : {false, true}) {
    auto scene = std::make_shared<HandMadeScene>();
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(metal(isMetal)));
    scene->add(rectangle(-2, -2, 2, 2), scene->addMaterial(glowing({1, 0, 0})),
               glm::scale(moved(0, 0, 6), glm::vec3(1, 1, -1)));
    const glm::vec3 seen = middleOf(scene, Kind::Final);
    redness[isMetal ? 1 : 0] = seen.r / seen.g;
  }
  EXPECT_LT(redness[0], 3.0F);
  EXPECT_GT(redness[1], 8.0F);
}

TEST(NormalMap, BendsTheLightTowardsWhereItsColoursPoint) {
  auto bump = std::make_shared<image::Image>(1, 1, 4, image::Sample::Byte);
  const std::uint8_t up[] = {128, 230, 200, 255};  // green up
  std::copy_n(up, 4, bump->row<std::uint8_t>(0));
  for (const float mirror : {1.0F, -1.0F}) {
    scene::Material plain = colored({0.5F, 0.5F, 0.5F}), bumped = plain;
    bumped.normalMap.picture = bump;
    plain.doubleSided = bumped.doubleSided = true;
    float seen[2];
    for (int i = 0; i < 2; ++i) {
      auto scene = std::make_shared<HandMadeScene>();
      scene->now.lights.push_back(lamp(scene::Light::Kind::Directional, {}, {0, -1, -0.3F}));
      scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(i == 0 ? plain : bumped),
                 glm::scale(glm::mat4(1.0F), glm::vec3(mirror, 1, 1)));
      seen[i] = middleOf(scene, Kind::Final).g;
    }
    EXPECT_GT(seen[1], 1.5F * seen[0]) << mirror;
  }
}

std::shared_ptr<scene::Geometry> ball(float radius) {
  auto geometry = std::make_shared<scene::Geometry>();
  constexpr std::uint32_t kRings = 12, kSpokes = 24;
  for (std::uint32_t ring = 0; ring <= kRings; ++ring) {
    for (std::uint32_t spoke = 0; spoke <= kSpokes; ++spoke) {
      const float down = glm::radians(15.0F * static_cast<float>(ring)),
                  round = glm::radians(15.0F * static_cast<float>(spoke));
      geometry->positions.push_back(
          radius * glm::vec3(std::sin(down) * std::cos(round), std::cos(down), std::sin(down) * std::sin(round)));
      const std::uint32_t first = ring * (kSpokes + 1) + spoke, below = first + kSpokes + 1;
      if (ring == kRings || spoke == kSpokes) continue;
      for (const std::uint32_t corner : {first, first + 1, below, first + 1, below + 1, below}) {
        geometry->indices.push_back(corner);
      }
    }
  }
  return geometry;
}

TEST(Skies, EncloseAndLightASceneInTheirColour) {
  struct Row {
    const char* name;
    bool unlit, cameraInside;
    float radius;
    bool isSky;
  };
  for (const Row& row : {Row{"unlit dome", true, true, 60, true},
                         {"lit dome", false, true, 60, true},
                         {"ball around what isn't seen", false, false, 3, false}}) {
    SCOPED_TRACE(row.name);
    auto scene = std::make_shared<HandMadeScene>();
    scene->add(ground(2), scene->addMaterial(colored({0.5F, 0.5F, 0.5F})));
    scene::Material blue = row.unlit ? unlit({0.1F, 0.2F, 0.8F}) : colored({0.1F, 0.2F, 0.8F});
    blue.doubleSided = true;
    scene->add(ball(row.radius), scene->addMaterial(blue));
    const scene::Camera view = orthographic({0, row.cameraInside ? 2.0F : 20.0F, 0}, {0, 0, 0}, 0.9F);
    scene->now.cameras.push_back(view);
    RayScene traced(scene, SingleSided::All);
    traced.pose(0.0);
    EXPECT_EQ(traced.hasSkies(), row.isSky);
    traced.pose(1.0);
    EXPECT_EQ(traced.hasSkies() && traced.instances()[1].sky, row.isSky) << "after a pose that changes nothing";
    if (!row.isSky) continue;
    const glm::vec3 seen = lightAround(picture(scene, view, 16, 16, Kind::Final), 8, 8, 3);
    EXPECT_GT(seen.b, 1.1F * seen.r);
    EXPECT_GT(brightness(seen), 0.15F);
  }
}

}  // namespace
}  // namespace quillmere::render
