#include "small_picture.h"

#include <cmath>

namespace quillmere::render {
namespace {

float decoded(float stored) {
  return stored <= 0.04045F ? stored / 12.92F : std::pow((stored + 0.055F) / 1.055F, 2.4F);
}

}  // namespace

image::Image picture(const std::shared_ptr<HandMadeScene>& scene, const scene::Camera& view, int width, int height,
                     Kind kind) {
  Renderer renderer(scene);
  renderer.pose(0.0);
  return kind == Kind::Quick ? renderer.drawQuick(view, width, height) : renderer.drawFinal(view, width, height);
}

glm::vec3 pixel(const image::Image& picture, int x, int y) {
  if (picture.sample() == image::Sample::Float) {
    const float* rgb = picture.row<float>(y) + std::ptrdiff_t{3} * x;
    return {rgb[0], rgb[1], rgb[2]};
  }
  const std::uint8_t* rgb = picture.row<std::uint8_t>(y) + std::ptrdiff_t{3} * x;
  return glm::vec3(rgb[0], rgb[1], rgb[2]) / 255.0F;
}

glm::vec3 lightAround(const image::Image& picture, int x, int y, int reach) {
  glm::vec3 sum(0.0F);
  for (int row = y - reach; row <= y + reach; ++row) {
    for (int column = x - reach; column <= x + reach; ++column) {
      const glm::vec3 stored = pixel(picture, column, row);
      sum += glm::vec3(decoded(stored.x), decoded(stored.y), decoded(stored.z));
    }
  }
  const float side = static_cast<float>(2 * reach + 1);
  return sum / (side * side);
}

float brightness(glm::vec3 light) {
  return (light.x + light.y + light.z) / 3.0F;
}

scene::Camera fromAbove() {
  return orthographic({0, 20, 0}, {0, 0, 0}, 2.0F);
}

glm::vec3 lightAt(const image::Image& plan, float x, float z) {
  const auto place = [](float metres) { return static_cast<int>((metres / 4.0F + 0.5F) * kPlanSide); };
  return lightAround(plan, place(x), place(z), 1);
}

std::shared_ptr<HandMadeScene> greyGround() {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(ground(40), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})));
  return scene;
}

image::Image plan(const std::shared_ptr<HandMadeScene>& scene) {
  return picture(scene, fromAbove(), kPlanSide, kPlanSide, Kind::Final);
}

scene::Light lamp(scene::Light::Kind kind, glm::vec3 position, glm::vec3 direction) {
  scene::Light light;
  light.kind = kind;
  light.innerCone = 0.3F;
  light.outerCone = 0.5F;
  light.position = position;
  light.direction = glm::normalize(direction);
  return light;
}

}  // namespace quillmere::render
