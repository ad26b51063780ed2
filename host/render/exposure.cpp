#include "exposure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "ray_packet.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

using Kind = scene::Light::Kind;

constexpr float kDay = 0.57F;          // what white sends back under directional lights once exposed
constexpr float kRoom = 0.65F;         // and around a lamp on average, below which it is several times as bright
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
    rays.findNearest(scene, RayUse::Bounce);
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

}  // namespace

float measuredLight(const RayScene& scene) {
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
  return day / kDay + room / kRoom;
}

bool hasLamps(const scene::Snapshot& snapshot) {
  return std::ranges::any_of(snapshot.lights,
                             [](const scene::Light& light) { return light.kind != Kind::Directional; });
}

}  // namespace quillmere::render
