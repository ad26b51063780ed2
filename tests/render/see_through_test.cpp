#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>

#include "small_picture.h"

namespace quillmere::render {
namespace {

using Alpha = scene::Material::Alpha;

// The left half invisible, the right one opaque.
std::shared_ptr<const image::Image> halfVisible() {
  auto texture = std::make_shared<image::Image>(2, 1, 4, image::Sample::Byte);
  std::uint8_t* rgba = texture->row<std::uint8_t>(0);
  for (int i = 0; i < 8; ++i) rgba[i] = i == 3 ? 0 : 255;
  return texture;
}

scene::Material halfVisibleMaterial(Alpha alpha) {
  scene::Material material;
  material.texture.picture = halfVisible();
  material.texture.nearest = true;
  material.alpha = alpha;
  return material;
}

glm::mat4 at(float z) {
  return glm::translate(glm::mat4(1.0F), glm::vec3(0, 0, z));
}

TEST(SeeThrough, AlphaDecidesWhatIsSeenThroughASurface) {
  for (const Alpha alpha : {Alpha::Opaque, Alpha::Mask, Alpha::Blend}) {
    auto scene = std::make_shared<HandMadeScene>();
    scene::Material front = halfVisibleMaterial(alpha);
    front.unlit = true;
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(front));
    scene->add(rectangle(-2, -2, 2, 2), scene->addMaterial(unlit({1, 0, 0})), at(-1));
    for (const Kind kind : {Kind::Quick, Kind::Final}) {
      SCOPED_TRACE(static_cast<int>(alpha));
      const image::Image drawn = picture(scene, orthographic({0, 0, 3}, {0, 0, 0}, 1.0F), 16, 16, kind);
      EXPECT_EQ(pixel(drawn, 4, 8), alpha == Alpha::Opaque ? glm::vec3(1, 1, 1) : glm::vec3(1, 0, 0));
      EXPECT_EQ(pixel(drawn, 12, 8), glm::vec3(1, 1, 1));
    }
  }
}

TEST(SeeThrough, BlendedLayersMixInTheirOrderFromTheCamera) {
  const glm::vec4 nearer(0, 1, 0, 0.25F), farther(0, 0, 1, 0.5F);
  auto scene = std::make_shared<HandMadeScene>();
  for (const auto& [color, z] : {std::pair(farther, -1.0F), std::pair(nearer, 0.0F)}) {
    scene::Material layer = unlit(color);
    layer.baseColor.a = color.a;
    layer.alpha = Alpha::Blend;
    scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(layer), at(z));
  }
  scene->add(rectangle(-1, -1, 1, 1), scene->addMaterial(unlit({1, 0, 0})), at(-2));
  for (const Kind kind : {Kind::Quick, Kind::Final}) {
    const glm::vec3 light = lightAround(picture(scene, orthographic({0, 0, 3}, {0, 0, 0}, 1.0F), 8, 8, kind), 4, 4, 1);
    EXPECT_NEAR(light.g, 0.25F, 0.01F);
    EXPECT_NEAR(light.b, 0.75F * 0.5F, 0.01F);
    EXPECT_NEAR(light.r, 0.75F * 0.5F, 0.01F);
  }
}

TEST(SeeThrough, LightFallsThroughWhatIsInvisible) {
  for (const Alpha alpha : {Alpha::Mask, Alpha::Blend}) {
    auto scene = std::make_shared<HandMadeScene>();
    scene->add(ground(40), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})));
    // A sheet 1 m above the ground of which the half at X < 0 is invisible, out of the camera's sight by its far plane.
    scene->add(
        rectangle(-2, -2, 2, 2), scene->addMaterial(halfVisibleMaterial(alpha)),
        glm::rotate(glm::translate(glm::mat4(1.0F), glm::vec3(0, 1, 0)), glm::radians(-90.0F), glm::vec3(1, 0, 0)));
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
