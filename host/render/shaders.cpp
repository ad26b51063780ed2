#include "shaders.h"

#include <algorithm>

#include "color_encoding.h"
#include "light_transport.h"

namespace quillmere::render {
namespace {

// The points of a layer where light is to be estimated.
RaySet litPoints(const Layer& layer) {
  RaySet lit = 0;
  forEachRay(layer.points, [&](int at) {
    if (!layer.surface.isUnlit(at)) lit |= setOf(at);
  });
  return lit;
}

// As much of a light as the display can show, in its own hue.
glm::vec3 displayed(glm::vec3 light) {
  return light / std::max({1.0F, light.x, light.y, light.z});
}

}  // namespace

QuickShader::QuickShader(const scene::Camera& camera, image::Image& picture)
    : picture_(picture),
      headlight_(glm::normalize(glm::vec3(camera.toWorld[2]) + 0.45F * glm::vec3(camera.toWorld[1]) -
                                0.3F * glm::vec3(camera.toWorld[0]))) {}

RaySet QuickShader::shade(const Layer& layer, PerRay<Sum>& sums) const {
  VectorPerRay light;
  forEachRay(layer.points, [&](int at) {
    const glm::vec3 color = layer.surface.color[at];
    light.set(at, layer.surface.isUnlit(at)
                      ? color
                      : color * lightOn(layer.surface.normal[at]) + displayed(layer.surface.emission[at]));
  });
  forEachRay(layer.met, [&](int ray) { sums[ray] += layer.weight[ray] * light[layer.pointOf[ray]]; });
  forEachRay(layer.missed, [&](int ray) { sums[ray] += layer.weight[ray] * background(layer.block.pixelOf(ray).y); });
  return 0;
}

void QuickShader::store(const Sum& sum, float samples, int x, int y) const {
  const glm::vec3 light = sum * (1.0F / samples);
  std::uint8_t* rgb = picture_.row<std::uint8_t>(y) + std::ptrdiff_t{3} * x;
  for (int c = 0; c < 3; ++c) rgb[c] = storedByte(light[c]);
}

glm::vec3 QuickShader::lightOn(glm::vec3 normal) const {
  constexpr glm::vec3 kAbove(0.40F, 0.42F, 0.45F), kBelow(0.17F, 0.165F, 0.16F);
  constexpr float kHeadlight = 0.62F;
  const float facing = std::max(0.0F, glm::dot(normal, headlight_));
  return glm::mix(kBelow, kAbove, 0.5F + 0.5F * normal.y) + kHeadlight * facing;
}

glm::vec3 QuickShader::background(int row) const {
  constexpr float kTop = 0.105F, kBottom = 0.30F;  // light, not stored values
  return glm::vec3(glm::mix(kTop, kBottom, (static_cast<float>(row) + 0.5F) / static_cast<float>(picture_.height())));
}

FinalShader::Sum& FinalShader::Sum::operator+=(const Sum& other) {
  radiance += other.radiance;
  lit += other.lit;
  own += other.own;
  return *this;
}

FinalShader::FinalShader(const RayScene& scene, image::Image& picture)
    : scene_(scene), picture_(picture), sources_(scene) {}

RaySet FinalShader::shade(const Layer& layer, PerRay<Sum>& sums) const {
  forEachRay(layer.missed, [&](int ray) {
    sums[ray].own += layer.weight[ray] * sources_.backdrop(glm::normalize(layer.rays.direction(ray)));
  });
  const RaySet lit = litPoints(layer);
  const VectorPerRay received =
      lightAt(scene_, sources_, layer.surface, lit, static_cast<std::uint32_t>(layer.pass), layer.seeds);
  forEachRay(layer.met, [&](int ray) {
    const int at = layer.pointOf[ray];
    const glm::vec3 color = layer.weight[ray] * layer.surface.color[at];
    if ((lit & setOf(at)) == 0) {
      sums[ray].own += color;
      return;
    }
    sums[ray].radiance += color * received[at] + layer.weight[ray] * layer.surface.emission[at];
    sums[ray].lit += layer.weight[ray];
  });
  return 0;
}

void FinalShader::store(const Sum& sum, float samples, int x, int y) const {
  const glm::vec3 exposed = sum.lit > 0.0F ? sum.lit * filmic(sum.radiance / sum.lit) : glm::vec3(0.0F);
  const glm::vec3 light = (exposed + sum.own) / samples;
  float* rgb = picture_.row<float>(y) + std::ptrdiff_t{3} * x;
  for (int c = 0; c < 3; ++c) rgb[c] = stored(light[c]);
}

}  // namespace quillmere::render
