#include "light_sources.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ray_packet.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

using Kind = scene::Light::Kind;

struct Gradient {
  glm::vec3 zenith, horizon, ground;
};

constexpr Gradient kRadiance{{0.34F, 0.48F, 0.72F}, {0.74F, 0.78F, 0.82F}, {0.26F, 0.25F, 0.23F}};
constexpr Gradient kBackdrop{{0.16F, 0.34F, 0.66F}, {0.68F, 0.79F, 0.88F}, {0.44F, 0.47F, 0.50F}};

glm::vec3 at(const Gradient& gradient, float height) {
  if (height >= 0.0F) return glm::mix(gradient.horizon, gradient.zenith, std::sqrt(height));
  return glm::mix(gradient.horizon, gradient.ground, glm::smoothstep(0.0F, 0.25F, -height));
}

constexpr float kDay = 1.0F;           // what white sends back under directional lights once exposed
constexpr float kRoom = 0.4F;          // and around a lamp on average, below which it is several times as bright
constexpr std::uint32_t kPackets = 4;  // of rays from each lamp

float brightness(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

glm::vec3 shinesTo(const scene::Light& lamp, glm::vec2 sample) {
  const float least = lamp.kind == Kind::Spot ? std::cos(lamp.outerCone) : -1.0F;
  const float height = glm::mix(1.0F, least, sample.x);
  const float angle = glm::two_pi<float>() * sample.y;
  const float width = std::sqrt(std::max(0.0F, 1.0F - height * height));
  const Across axes = across(lamp.direction);
  return lamp.direction * height + (axes.u * std::cos(angle) + axes.v * std::sin(angle)) * width;
}

// Geometric mean of the distances to what a lamp shines on, 0 when that is nothing.
float meanDistance(const RayScene& scene, const scene::Light& lamp) {
  double sum = 0.0;
  int hits = 0;
  for (std::uint32_t packet = 0; packet < kPackets; ++packet) {
    RayPacket rays;
    for (int ray = 0; ray < kRays; ++ray) {
      const std::uint32_t sample = packet * kRays + static_cast<std::uint32_t>(ray);
      rays.start(ray, lamp.position, shinesTo(lamp, samplePoint(sample, 1)), 0.0F,
                 lamp.range > 0.0F ? lamp.range : std::numeric_limits<float>::infinity(), sample);
    }
    rays.findNearest(scene, RayUse::Light);
    forEachRay(rays.found(), [&](int ray) { sum += std::log(std::max(rays.hit(ray).distance, 1e-6F)); });
    hits += std::popcount(rays.found());
  }
  return hits > 0 ? static_cast<float>(std::exp(sum / hits)) : 0.0F;
}

struct Lamp {
  glm::vec3 position;
  float strength;
  float squaredReach;  // of what it shines on
};

// What all lamps together send to the surroundings of one of them.
float around(const Lamp& lamp, const std::vector<Lamp>& lamps) {
  float sum = 0.0F;
  for (const Lamp& other : lamps) {
    const glm::vec3 way = other.position - lamp.position;
    sum += other.strength / (lamp.squaredReach + glm::dot(way, way));
  }
  return sum;
}

// What to multiply a scene's own lights with, as their strengths are anything from 1 to 100,000: brings what
// directional lights send to the brightness of a day and the brightest surroundings of a lamp to that of a lit room.
// It does not depend on the camera and changes smoothly with what moves. 1 for a scene without light.
float exposureOf(const RayScene& scene) {
  float day = 0.0F, room = 0.0F;
  std::vector<Lamp> lamps;
  for (const scene::Light& light : scene.snapshot().lights) {
    const float strength = brightness(light.color);
    if (light.kind == Kind::Directional) {
      day += strength;
    } else if (const float distance = meanDistance(scene, light); distance > 0.0F) {
      lamps.push_back({light.position, strength, distance * distance});
    }
  }
  for (const Lamp& lamp : lamps) room = std::max(room, around(lamp, lamps));
  const float exposed = day / kDay + room / kRoom;
  return std::isnormal(exposed) ? 1.0F / exposed : 1.0F;
}

constexpr float kSunRadius = 0.0093F;  // twice the real one, radians
constexpr float kDusk = 0.35F;         // strength of the sky over a scene that is lit by lamps only
constexpr glm::vec3 kSunColor(1.06F, 0.96F, 0.81F);
constexpr glm::vec3 kSunTravel(-0.48F, -0.74F, -0.47F);

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

}  // namespace

LightSources::LightSources(const RayScene& scene)
    : lights_(scene.snapshot().lights), skyStrength_(skyStrength(lights_)) {
  if (lights_.empty()) {
    lights_.push_back(defaultSun());
    return;
  }
  const float exposure = exposureOf(scene);
  for (scene::Light& light : lights_) light.color *= exposure;
  bulbRadius_ = std::min(bulbRadius_, 0.01F * scene.solidRadius());
}

LightSample LightSources::sample(int index, glm::vec3 at, glm::vec2 random) const {
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

glm::vec3 LightSources::sky(glm::vec3 direction) const {
  return skyStrength_ * at(kRadiance, direction.y);
}

glm::vec3 LightSources::ambient() const {
  return skyStrength_ * 0.25F * kRadiance.horizon;
}

glm::vec3 LightSources::backdrop(glm::vec3 direction) const {
  return std::sqrt(skyStrength_) * at(kBackdrop, direction.y);
}

}  // namespace quillmere::render
