#include "light_transport.h"

#include <algorithm>
#include <glm/gtc/constants.hpp>
#include <limits>

#include "reflection.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr int kLampsPerPoint = 4;  // of a scene with more, that many are chosen by chance
constexpr float kInfinity = std::numeric_limits<float>::infinity();

enum Purpose : std::uint32_t { kLamp = 100, kSurroundings = 200, kBounce = 300, kEmitter = 400 };

// Directions below the face, which only smoothed normals lead to, are turned up above it.
glm::vec3 above(glm::vec3 direction, glm::vec3 faceNormal) {
  const float height = glm::dot(direction, faceNormal);
  return height < 0.0F ? direction - 2.0F * height * faceNormal : direction;
}

struct RandomNumbers {
  const PerRay<std::uint32_t>& numbers;
  std::uint32_t seed;
  std::uint32_t purpose;  // those of different purposes are independent

  std::uint32_t sequence() const { return seed + 0x9e3779b9U * purpose; }
  glm::vec2 point(int ray) const { return samplePoint(numbers[ray], sequence()); }
  float number(int ray) const { return samplePoint(numbers[ray], sequence() + 0x51ed270bU).x; }
  std::uint32_t bits(int ray) const { return mixed(numbers[ray] ^ mixed(sequence())); }
};

// Highlights of lamps, which are too small for any ray to meet.
constexpr float kHighlight = 0.12F;

void add(VectorPerRay& sums, int ray, glm::vec3 light) {
  sums.set(ray, sums[ray] + light);
}

// The weight of light found in one of two ways, of which either might have found it (E. Veach, Robust Monte Carlo
// Methods for Light Transport Simulation, 1997: the balance heuristic).
float balance(float density, float other) {
  return density / (density + other);
}

// Adds to what the points of one packet send.
class LightTransport {
 public:
  LightTransport(const RayScene& scene, const LightSources& sources, const Emitters& emitters)
      : scene_(scene), sources_(sources), emitters_(emitters) {}

  // Calls arrived(ray, towards, light) for each lamp that a point sees; `light` is what white that faces it sends back.
  template <class Arrived>
  void findLamps(const SurfacePoints& points, RaySet which, int lamps, RandomNumbers random,
                 const Arrived& arrived) const {
    const int count = std::min(lamps, sources_.count());
    // One by chance out of each of `count` equal shares of all, which is every one where there are no more.
    const float share = static_cast<float>(sources_.count()) / static_cast<float>(count);
    for (int i = 0; i < count; ++i, ++random.purpose) {
      PerRay<int> chosen{};
      forEachRay(which, [&](int ray) {
        const float place = (static_cast<float>(i) + random.number(ray)) * share;
        chosen[ray] = std::min(static_cast<int>(place), sources_.count() - 1);
      });
      findOneLamp(points, which, chosen, random, share, arrived);
    }
  }

  template <class Arrived>
  void findOneLamp(const SurfacePoints& points, RaySet which, const PerRay<int>& lamps, RandomNumbers random,
                   float weight, const Arrived& arrived) const {
    RayPacket shadows;
    VectorPerRay arriving, towards;
    forEachRay(which, [&](int ray) {
      const LightSample light = sources_.sample(lamps[ray], points.position[ray], random.point(ray));
      if (glm::dot(points.normal[ray], light.direction) <= 0.0F) return;
      if (glm::dot(points.faceNormal[ray], light.direction) <= 0.0F) return;
      const glm::vec3 share = light.arriving * weight;
      if (std::max({share.x, share.y, share.z}) <= 0.0F) return;
      arriving.set(ray, share);
      towards.set(ray, light.direction);
      shadows.start(ray, points.leaving(ray), light.direction, 0.0F, light.distance * 0.9999F, random.bits(ray));
    });
    if (shadows.active() == 0) return;
    forEachRay(shadows.findUnblocked(scene_), [&](int ray) { arrived(ray, towards[ray], arriving[ray]); });
  }

  // Calls arrived(ray, towards, light, density) for a place on an emitter that each point sees.
  template <class Arrived>
  void findEmitters(const SurfacePoints& points, RaySet which, RandomNumbers random, const Arrived& arrived) const {
    if (emitters_.empty()) return;
    RayPacket shadows;
    PerRay<EmitterSample> samples;
    forEachRay(which, [&](int ray) {
      samples[ray] = emitters_.sample(points.position[ray], random.number(ray), random.point(ray));
      const glm::vec3 towards = samples[ray].direction;
      if (samples[ray].density <= 0.0F || glm::dot(points.normal[ray], towards) <= 0.0F) return;
      if (glm::dot(points.faceNormal[ray], towards) <= 0.0F) return;
      shadows.start(ray, points.leaving(ray), towards, 0.0F, samples[ray].distance * 0.999F, random.bits(ray));
    });
    if (shadows.active() == 0) return;
    forEachRay(shadows.findUnblocked(scene_), [&](int ray) {
      const EmitterSample& seen = samples[ray];
      arrived(ray, seen.direction, sources_.stops() * seen.emission, seen.density);
    });
  }

  // What comes from those directions, which active `rays` lead to and were chosen with those densities. Of emitters
  // the part that findEmitters leaves to it.
  VectorPerRay surroundings(RayPacket& rays, const PerRay<float>& densities, RandomNumbers random) const {
    rays.findNearest(scene_, RayUse::Bounce);
    SurfacePoints bounces;
    const RaySet bounced = rays.found();
    forEachRay(bounced, [&](int ray) {
      const Hit hit = rays.hit(ray);
      bounces.resolve(ray, scene_, hit, rays.direction(ray), 0.1F * hit.distance);
    });
    VectorPerRay secondary{}, light;
    findLamps(bounces, bounced, 1, {random.numbers, random.seed, kBounce},
              [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
                add(secondary, ray, arriving * std::max(0.0F, glm::dot(bounces.normal[ray], towards)));
              });
    forEachRay(bounced, [&](int ray) {
      const float other = emitters_.density(bounces, ray, rays.direction(ray), rays.hit(ray).distance);
      const glm::vec3 emitted = sources_.stops() * balance(densities[ray], other) * bounces.emission[ray];
      light.set(ray, bounces.color[ray] * (secondary[ray] + sources_.ambient()) + emitted);
    });
    addSkies(rays, rays.active() & ~bounced, random, light);
    return light;
  }

  // What comes from far away, where a surface of the scene may be the sky.
  void addSkies(const RayPacket& rays, RaySet which, RandomNumbers random, VectorPerRay& light) const {
    forEachRay(which, [&](int ray) { light.set(ray, sources_.sky(rays.direction(ray))); });
    if (!scene_.hasSkies() || which == 0) return;
    RayPacket far;
    forEachRay(which, [&](int ray) {
      far.start(ray, rays.origin(ray), rays.direction(ray), 0.0F, kInfinity, random.bits(ray));
    });
    far.findNearest(scene_, RayUse::Sky);
    SurfacePoints skies;
    forEachRay(far.found(), [&](int ray) {
      const Hit hit = far.hit(ray);
      skies.resolve(ray, scene_, hit, far.direction(ray), 0.05F * hit.distance);
      light.set(ray, sources_.stops() * (skies.color[ray] + skies.emission[ray]));
    });
  }

 private:
  const RayScene& scene_;
  const LightSources& sources_;
  const Emitters& emitters_;
};

}  // namespace

SentLight LightEstimate::at(const SurfacePoints& points, RaySet which, const VectorPerRay& directions,
                            const PerRay<std::uint32_t>& numbers, std::uint32_t seed) const {
  const LightTransport transport(scene_, sources_, emitters_);
  SentLight light{};
  PerRay<Reflection> reflections;
  forEachRay(which, [&](int ray) { reflections[ray] = Reflection(points, ray, -glm::normalize(directions[ray])); });
  const auto reflection = [&](int ray) -> const Reflection& { return reflections[ray]; };
  const auto send = [&](int ray, const Reflection::Sent& sent, glm::vec3 arriving) {
    add(light.chalk, ray, sent.chalk * arriving);
    add(light.mirror, ray, sent.mirror * arriving);
  };
  transport.findLamps(points, which, kLampsPerPoint, {numbers, seed, kLamp},
                      [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
                        send(ray, reflection(ray).sent(towards, kHighlight), arriving);
                      });
  transport.findEmitters(points, which, {numbers, seed, kEmitter},
                         [&](int ray, glm::vec3 towards, glm::vec3 radiance, float density) {
                           const Reflection& here = reflection(ray);
                           const float weight = balance(density, here.density(towards)) / (density * glm::pi<float>());
                           send(ray, here.sent(towards, 0.0F), radiance * weight);
                         });

  const RandomNumbers random{numbers, seed, kSurroundings};
  RayPacket rays;
  PerRay<float> densities;
  forEachRay(which, [&](int ray) {
    const Reflection& here = reflection(ray);
    const glm::vec3 towards = above(here.chosen(random.point(ray), random.number(ray)), points.faceNormal[ray]);
    densities[ray] = here.density(towards);
    if (!(densities[ray] > 1e-6F)) return;
    rays.start(ray, points.leaving(ray), towards, 0.0F, kInfinity, random.bits(ray));
  });
  if (rays.active() == 0) return light;
  const VectorPerRay arriving = transport.surroundings(rays, densities, random);
  forEachRay(rays.active(), [&](int ray) {
    const float weight = points.finish[ray].occlusion / (densities[ray] * glm::pi<float>());
    send(ray, reflection(ray).sent(rays.direction(ray), 0.0F), arriving[ray] * weight);
  });
  return light;
}

}  // namespace quillmere::render
