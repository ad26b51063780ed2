#include "lighting.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr float kSunRadius = 0.0093F;  // twice the real one, radians
constexpr float kBright = 1.0F;        // what arrives from the lights on average once exposed
constexpr float kLampSky = 0.35F;      // strength of the sky beside lights of the scene's own
constexpr glm::vec3 kSunColor(1.06F, 0.96F, 0.81F);
constexpr glm::vec3 kSunTravel(-0.48F, -0.74F, -0.47F);

using Kind = scene::Light::Kind;

scene::Light defaultSun() {
  scene::Light sun;
  sun.kind = Kind::Directional;
  sun.color = kSunColor;
  sun.direction = glm::normalize(kSunTravel);
  return sun;
}

float brightness(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

// The window of KHR_lights_punctual that brings a light to nothing at its range.
float fading(const scene::Light& light, float squaredDistance) {
  if (light.range <= 0.0F) return 1.0F;
  const float ratio = squaredDistance / (light.range * light.range);
  return std::clamp(1.0F - ratio * ratio, 0.0F, 1.0F);
}

// The cone of KHR_lights_punctual.
float coneShare(const scene::Light& light, glm::vec3 towards) {
  if (light.kind != Kind::Spot) return 1.0F;
  const float inner = std::cos(light.innerCone), outer = std::cos(light.outerCone);
  const float share = (glm::dot(light.direction, -towards) - outer) / std::max(0.001F, inner - outer);
  const float clamped = std::clamp(share, 0.0F, 1.0F);
  return clamped * clamped;
}

float arrivingAt(const Instance& instance, const scene::Light& light) {
  if (light.kind == Kind::Directional) return brightness(light.color);
  const glm::vec3 way = light.position - instance.center;
  const float squared = glm::dot(way, way);
  return brightness(light.color) * fading(light, squared) / (squared + instance.radius * instance.radius + 1e-12F);
}

// Mean over the surfaces by size, of square roots so that one that touches a lamp does not darken all others.
float meanArriving(const PosedScene& scene, const std::vector<scene::Light>& lights) {
  double roots = 0.0, sizes = 0.0;
  for (const Instance& instance : scene.instances()) {
    if (instance.appearance->material->unlit) continue;
    double arriving = 0.0;
    for (const scene::Light& light : lights) arriving += arrivingAt(instance, light);
    const double size = static_cast<double>(instance.radius) * instance.radius;
    if (!std::isfinite(arriving * size)) continue;
    roots += std::sqrt(arriving) * size;
    sizes += size;
  }
  return sizes > 0.0 ? static_cast<float>(roots / sizes * (roots / sizes)) : 0.0F;
}

float sceneRadius(const PosedScene& scene) {
  glm::vec3 lower(std::numeric_limits<float>::infinity()), upper(-lower);
  for (const Instance& instance : scene.instances()) {
    lower = glm::min(lower, instance.center - instance.radius);
    upper = glm::max(upper, instance.center + instance.radius);
  }
  return scene.instances().empty() ? 0.0F : 0.5F * glm::length(upper - lower);
}

}  // namespace

Lighting::Lighting(const PosedScene& scene) : lights_(scene.moment().lights), sky_(lights_.empty() ? 1.0F : kLampSky) {
  if (lights_.empty()) {
    lights_.push_back(defaultSun());
    return;
  }
  const float mean = meanArriving(scene, lights_);
  const float exposure = std::isnormal(mean) ? kBright / mean : 1.0F;
  for (scene::Light& light : lights_) light.color *= exposure;
  bulbRadius_ = std::min(bulbRadius_, 0.01F * sceneRadius(scene));
}

LightSample Lighting::sample(int index, glm::vec3 at, glm::vec2 random) const {
  const scene::Light& light = lights_[static_cast<std::size_t>(index)];
  const glm::vec2 disc = onDisc(random);
  if (light.kind == Kind::Directional) {
    const Across axes = across(-light.direction);
    const glm::vec3 towards = glm::normalize((axes.u * disc.x + axes.v * disc.y) * kSunRadius - light.direction);
    return {towards, std::numeric_limits<float>::infinity(), light.color};
  }
  const glm::vec3 center = light.position - at;
  const float squared = std::max(glm::dot(center, center), 1e-12F);
  const Across axes = across(center / std::sqrt(squared));
  const glm::vec3 way = center + (axes.u * disc.x + axes.v * disc.y) * bulbRadius_;
  const float distance = std::max(glm::length(way), 1e-6F);
  const glm::vec3 towards = way / distance;
  return {towards, distance, light.color * (fading(light, squared) * coneShare(light, towards) / squared)};
}

}  // namespace quillmere::render
