// What lights surfaces in final pictures.
#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>

#include "small_picture.h"

namespace quillmere::render {
namespace {

TEST(FinalLight, CornersAreDarkerThanOpenGround) {
  auto scene = greyGround();
  scene->now.lights.push_back(lamp(scene::Light::Kind::Directional, {}, {0, -1, 0}));
  scene->now.lights[0].color = glm::vec3(0.0F);  // the sky alone
  const float open = brightness(lightAt(plan(scene), 0.7F, 0));
  scene->add(cube(1), scene->addMaterial(colored({0, 0, 0})), moved(0, 0.5F, 0));
  EXPECT_LT(brightness(lightAt(plan(scene), 0.6F, 0)), 0.75F * open);
}

TEST(FinalLight, UnlitSurfacesTakeNoLightAway) {
  const image::Image bare = plan(greyGround());
  auto domed = greyGround();
  scene::Material sky = unlit({0.2F, 0.4F, 0.9F});
  sky.doubleSided = true;
  const int kind = domed->addMaterial(sky);
  domed->add(cube(1), kind, moved(1.2F, 6, 1.2F));  // between sun and ground
  const image::Image covered = plan(domed);
  for (const glm::vec2 place : {glm::vec2(-1.5F, -1.5F), glm::vec2(-1.5F, 1), glm::vec2(0, -1)}) {
    EXPECT_NEAR(brightness(lightAt(covered, place.x, place.y)), brightness(lightAt(bare, place.x, place.y)), 0.01F);
  }
}

TEST(FinalLight, LampsReachAsFarAsTheirConeAndRange) {
  struct Row {
    const char* name;
    scene::Light light;
    float range;
    glm::vec2 bright, dark;
  };
  const scene::Light aside = lamp(scene::Light::Kind::Spot, {0, 2, 0}, {1.2F, -2, 0});
  const scene::Light above = lamp(scene::Light::Kind::Point, {0, 1, 0}, {0, -1, 0});
  const scene::Light corner = lamp(scene::Light::Kind::Point, {-1.5F, 1, -1.5F}, {0, -1, 0});
  for (const Row& row : {Row{"spot", aside, 0, {1.2F, 0}, {-1, 0}}, Row{"range", above, 1.3F, {0, 0}, {0.9F, 0}},
                         Row{"distance", corner, 0, {-1.5F, -1.5F}, {1.5F, 1.5F}}}) {
    for (const float strength : {1.0F, 5e4F}) {  // which the exposure follows
      SCOPED_TRACE(testing::Message() << row.name << " " << strength);
      auto scene = greyGround();
      scene->now.lights.push_back(row.light);
      scene->now.lights[0].color *= strength;
      scene->now.lights[0].range = row.range;
      const image::Image drawn = plan(scene);
      const float bright = brightness(lightAt(drawn, row.bright.x, row.bright.y));
      EXPECT_GT(bright, 3.0F * brightness(lightAt(drawn, row.dark.x, row.dark.y)));
      EXPECT_GT(bright, 0.2F);
    }
  }
}

// More than are weighed for a point, of unequal strengths.
TEST(FinalLight, ManyLampsGiveAsMuchLightAsOneOfTheirStrength) {
  const auto lit = [](int lamps) {
    auto scene = greyGround();
    for (int i = 0; i < lamps; ++i) {
      scene->now.lights.push_back(lamp(scene::Light::Kind::Point, {0.4F, 1.2F, 0}, {0, -1, 0}));
      scene->now.lights.back().color *= 2.0F * static_cast<float>(i + 1) / static_cast<float>(lamps * (lamps + 1));
    }
    return plan(scene);
  };
  const image::Image one = lit(1), many = lit(40);
  for (const glm::vec2 place : {glm::vec2(0.4F, 0), glm::vec2(-1.5F, 1), glm::vec2(1, -1.5F)}) {
    const float expected = brightness(lightAt(one, place.x, place.y));
    EXPECT_NEAR(brightness(lightAt(many, place.x, place.y)), expected, 0.04F * expected);
  }
}

std::shared_ptr<HandMadeScene> withBars(const scene::Material& material, float height) {
  auto scene = greyGround();
  const int kind = scene->addMaterial(material);
  for (int i = 0; i < 12; ++i) {
    const glm::mat4 turned = glm::rotate(moved(0, height, 0), 0.5F * static_cast<float>(i), glm::vec3(0, 1, 0));
    scene->add(cube(0.02F), kind, glm::scale(turned, {150, 1, 1}));
  }
  return scene;
}

TEST(FinalLight, TheSunsShadowsAreTheSofterTheFartherTheirObjectIs) {
  const auto halfLit = [](float height) {  // places in a row that are neither in the light nor in the dark
    auto scene = greyGround();
    scene->now.lights.push_back(lamp(scene::Light::Kind::Directional, {}, {0, -1, 0}));
    scene->add(cube(1), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})), moved(-1, height, 0));  // as far as x = 0.
    Renderer renderer(scene);
    renderer.pose(0.0);
    const image::Image drawn = renderer.drawFinal(fromAbove(), kPlanSide, kPlanSide, {16, 1, 0.0F, Lighting::Scene});
    const float open = brightness(lightAt(drawn, 1.5F, 0));
    int count = 0;
    for (float x = -0.5F; x < 0.5F; x += 0.05F) {
      const float here = brightness(lightAt(drawn, x, 0));
      count += here > 0.1F * open && here < 0.9F * open ? 1 : 0;
    }
    return count;
  };
  EXPECT_GT(halfLit(30), halfLit(1.5F) + 3);
}

std::shared_ptr<HandMadeScene> polishedUnderLamp() {
  auto scene = std::make_shared<HandMadeScene>();
  scene::Material steel = colored({0.6F, 0.5F, 0.4F});
  steel.metallic = 1.0F;
  steel.roughness = 0.1F;
  scene->add(ground(40), scene->addMaterial(steel));
  for (const float x : {-1.0F, 0.2F, 1.3F}) {
    scene->now.lights.push_back(lamp(scene::Light::Kind::Point, {x, 2, 0.5F * x}, {0, -1, 0}));
  }
  return scene;
}

std::shared_ptr<HandMadeScene> stripesUnderSky() {
  auto stripes = std::make_shared<image::Image>(64, 64, 4, image::Sample::Byte);
  for (int i = 0; i < 64 * 64 * 4; ++i) stripes->row<std::uint8_t>(0)[i] = i % 4 == 3 || i / 8 % 2 == 0 ? 255 : 40;
  scene::Material material = colored({0.7F, 0.7F, 0.7F});
  material.texture.picture = stripes;
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-2, -2, 2, 2), scene->addMaterial(material),
             glm::rotate(glm::mat4(1.0F), -glm::half_pi<float>(), glm::vec3(1, 0, 0)));
  scene->add(cube(0.5F), 0, moved(0, 1.5F, 0));
  return scene;
}

TEST(FinalLight, WhatHasEdgesIsWithFewSamplesNearWhatItIsWithMany) {
  struct Row {
    const char* name;
    std::shared_ptr<HandMadeScene> scene;
    double most;  // of the root mean square of what stored values are off by
  };
  for (const Row& row : {Row{"bars", withBars(unlit({1, 1, 1}), 0), 0.0078},
                         Row{"shadows", withBars(colored({0.4F, 0.4F, 0.4F}), 0.5F), 0.010},
                         Row{"highlights", polishedUnderLamp(), 0.0078}, Row{"texture", stripesUnderSky(), 0.0032}}) {
    SCOPED_TRACE(row.name);
    Renderer renderer(row.scene);
    renderer.pose(0.0);
    const auto drawn = [&](int samples, std::uint32_t seed) {
      return renderer.drawFinal(fromAbove(), kPlanSide, kPlanSide, {samples, seed});
    };
    const image::Image few = drawn(16, 1), many = drawn(128, 2);
    double sum = 0.0;
    for (std::ptrdiff_t i = 0; i < kPlanSide * kPlanSide; ++i) {
      const double off = few.row<float>(0)[3 * i] - many.row<float>(0)[3 * i];
      sum += off * off;
    }
    EXPECT_LT(std::sqrt(sum / (kPlanSide * kPlanSide)), row.most);
  }
}

}  // namespace
}  // namespace quillmere::render
