#include "lighting.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "exposure.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr float kSunRadius = 0.0093F;  // twice the real one, radians
constexpr float kDusk = 0.35F;         // strength of the sky over a scene that is lit by lamps only
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

float skyStrength(const std::vector<scene::Light>& lights) {
  const auto isLamp = [](const scene::Light& light) { return light.kind != Kind::Directional; };
  return !lights.empty() && std::ranges::all_of(lights, isLamp) ? kDusk : 1.0F;
}

float radiusOf(RTCScene scene) {
  RTCBounds bounds;
  rtcGetSceneBounds(scene, &bounds);
  const glm::vec3 size(bounds.upper_x - bounds.lower_x, bounds.upper_y - bounds.lower_y,
                       bounds.upper_z - bounds.lower_z);
  return 0.5F * glm::length(glm::max(size, 0.0F));  // an empty one's bounds are the wrong way round
}

}  // namespace

Lighting::Lighting(const PosedScene& scene) : lights_(scene.snapshot().lights), sky_(skyStrength(lights_)) {
  if (lights_.empty()) {
    lights_.push_back(defaultSun());
    return;
  }
  const float exposure = exposureOf(scene);
  for (scene::Light& light : lights_) light.color *= exposure;
  bulbRadius_ = std::min(bulbRadius_, 0.01F * radiusOf(scene.solid()));
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
