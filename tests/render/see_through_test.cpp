#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>

#include "small_picture.h"

namespace quillmere::render {
namespace {

using Alpha = scene::Material::Alpha;

scene::Material unlitGlass(glm::vec3 color, float alpha) {
  scene::Material material = glass(color, alpha);
  material.unlit = true;
  return material;
}

// In the middle, along -Z.
glm::vec3 seenIn(const std::shared_ptr<HandMadeScene>& scene, Kind kind) {
  return lightAround(picture(scene, orthographic({0, 0, 3}, {0, 0, 0}, 1.0F), 8, 8, kind), 4, 4, 1);
}

// The left half invisible, the right one opaque.
scene::Material halfVisible(Alpha alpha) {
  auto texture = std::make_shared<image::Image>(2, 1, 4, image::Sample::Byte);
  for (int i = 0; i < 8; ++i) texture->row<std::uint8_t>(0)[i] = i == 3 ? 0 : 255;
  scene::Material material;
  material.texture.picture = texture;
  material.texture.nearest = true;
  material.alpha = alpha;
  return material;
}

TEST(SeeThrough, AlphaDecidesWhatIsSeenThroughASurface) {
  for (const Alpha alpha : {Alpha::Opaque, Alpha::Mask, Alpha::Blend}) {
    auto scene = std::make_shared<HandMadeScene>();
    scene::Material front = halfVisible(alpha);
    front.unlit = true;
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(front));
    scene->add(rectangle(-2, -2, 2, 2), scene->addMaterial(unlit({1, 0, 0})), moved(0, 0, -1));
    for (const Kind kind : {Kind::Quick, Kind::Final}) {
      SCOPED_TRACE(static_cast<int>(alpha));
      const image::Image drawn = picture(scene, orthographic({0, 0, 3}, {0, 0, 0}, 1.0F), 16, 16, kind);
      EXPECT_EQ(pixel(drawn, 4, 8), alpha == Alpha::Opaque ? glm::vec3(1, 1, 1) : glm::vec3(1, 0, 0));
      EXPECT_EQ(pixel(drawn, 12, 8), glm::vec3(1, 1, 1));
    }
  }
}

TEST(SeeThrough, BlendedLayersMixInTheirOrderFromTheCamera) {
  const auto empty = std::make_shared<HandMadeScene>(), scene = std::make_shared<HandMadeScene>();
  const glm::vec4 farther(0, 0, 1, 0.5F), nearer(0, 1, 0, 0.25F);
  for (const glm::vec4 color : {farther, nearer}) {
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(unlitGlass(color, color.a)), moved(0, 0, color.g - 1));
  }
  for (const bool wall : {false, true}) {
    if (wall) scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(unlit({1, 0, 0})), moved(0, 0, -2));
    for (const Kind kind : {Kind::Quick, Kind::Final}) {
      const glm::vec3 behind = wall ? glm::vec3(1, 0, 0) : seenIn(empty, kind);
      const glm::vec3 expected = 0.25F * glm::vec3(nearer) + 0.75F * 0.5F * (glm::vec3(farther) + behind);
      EXPECT_LT(glm::distance(seenIn(scene, kind), expected), 0.01F) << wall;
    }
  }
}

TEST(SeeThrough, TheSixteenthLayerHidesWhatIsBehindIt) {
  for (const auto& [sheets, red] : {std::pair(15, std::pow(0.9F, 15.0F)), {16, 0.0F}}) {
    auto scene = std::make_shared<HandMadeScene>();
    const int green = scene->addMaterial(unlitGlass({0, 1, 0}, 0.1F));
    for (int i = 0; i < sheets; ++i) scene->add(rectangle(-1, -1, 1, 1), green, moved(0, 0, -0.1F * float(i)));
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(unlit({1, 0, 0})), moved(0, 0, -2));
    for (const Kind kind : {Kind::Quick, Kind::Final}) EXPECT_NEAR(seenIn(scene, kind).r, red, 0.01F) << sheets;
  }
}

TEST(SeeThrough, LitGlassGivesItsShareOfLight) {
  const auto lightOf = [](float alpha) {
    auto scene = std::make_shared<HandMadeScene>();
    scene->add(ground(40), scene->addMaterial(glass({1, 1, 1}, alpha)));
    scene->add(ground(40), scene->addMaterial(unlit({0, 0, 0})), moved(0, -1, 0));
    return brightness(lightAt(picture(scene, fromAbove(), kPlanSide, kPlanSide, Kind::Final), 0, 0));
  };
  EXPECT_NEAR(lightOf(0.25F), 0.25F * lightOf(1.0F), 0.01F);
}

TEST(SeeThrough, LightFallsThroughWhatIsInvisible) {
  for (const auto& [alpha, doubleSided] : {std::pair(Alpha::Mask, false), {Alpha::Blend, false}, {Alpha::Mask, true}}) {
    auto scene = std::make_shared<HandMadeScene>();
    scene->add(ground(40), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})));  // from one side
    scene::Material sheet = halfVisible(alpha);
    sheet.doubleSided = doubleSided;
    // A sheet 1 m above the ground of which the half at X < 0 is invisible, out of the camera's sight by its far plane.
    scene->add(rectangle(-2, -2, 2, 2), scene->addMaterial(sheet),
               glm::rotate(moved(0, 1, 0), glm::radians(-90.0F), glm::vec3(1, 0, 0)));
    scene::Light noon;
    noon.kind = scene::Light::Kind::Directional;
    noon.direction = {0, -1, 0};
    scene->now.lights.push_back(noon);
    scene::Camera view = fromAbove();
    view.znear = 19.5F;
    const image::Image drawn = picture(scene, view, kPlanSide, kPlanSide, Kind::Final);
    EXPECT_LT(brightness(lightAt(drawn, 1, 0)), 0.5F * brightness(lightAt(drawn, -1, 0)));
  }
}

}  // namespace
}  // namespace quillmere::render
