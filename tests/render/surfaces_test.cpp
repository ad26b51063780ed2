// What surfaces look like under the rules of glTF 2.0: what they give off, from which side they are seen, how they
// reflect.
#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>

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
      EXPECT_GT(seen.g, seen.b);
      EXPECT_GT(seen.b, seen.r);
    }
  }
}

TEST(Emission, LightsWhatIsAroundInTheFinalPictureAlone) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(ground(40), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})));
  const image::Image dark = picture(scene, fromAbove(), kPlanSide, kPlanSide, Kind::Final);
  scene->add(cube(0.6F), scene->addMaterial(glowing({4, 0, 0})),
             glm::translate(glm::mat4(1.0F), glm::vec3(-1.2F, 0.3F, 0)));
  const image::Image lit = picture(scene, fromAbove(), kPlanSide, kPlanSide, Kind::Final);
  const auto redness = [](glm::vec3 light) { return light.r / light.b; };
  EXPECT_GT(redness(lightAt(lit, -0.6F, 0)), 1.3F * redness(lightAt(dark, -0.6F, 0)));
  EXPECT_LT(redness(lightAt(lit, 1.6F, 0)), 1.2F * redness(lightAt(dark, 1.6F, 0)));
}

}  // namespace
}  // namespace quillmere::render
