#include "light_transport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/gtc/constants.hpp>
#include <limits>

#include "reflection.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr int kLampsWeighed = 16;  // for a point; of a scene with more, that many are chosen by chance
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
  SamplePoints points() const { return of(sequence()); }
  SamplePoints choices() const { return of(sequence() + 0x51ed270bU); }
  SamplePoints of(std::uint32_t which) const {
    SamplePoints points;
    findSamplePoints(numbers.values, which, points);
    return points;
  }
  std::uint32_t bits(int ray) const { return mixed(numbers[ray] ^ mixed(sequence())); }
};

// Highlights of lamps, which are too small for any ray to meet.
constexpr float kHighlight = 0.12F;

void add(VectorPerRay& sums, int ray, glm::vec3 light) {
  sums.set(ray, sums[ray] + light);
}

float largest(glm::vec3 color) {
  return std::max({color.x, color.y, color.z});
}

float luminance(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
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

  // Calls arrived(ray, towards, light) for one lamp of all that each point sees, chosen by chance the more often the
  // larger weigh(ray, towards, light) is, which is asked where there are several; `light` is what white that faces all
  // lamps sends back, in the mean.
  template <class Weigh, class Arrived>
  void findLamp(const SurfacePoints& points, RaySet which, RandomNumbers random, const Weigh& weigh,
                const Arrived& arrived) const {
    if (sources_.count() == 0) return;
    RayPacket shadows;
    PerRay<LightSample> lamps;
    const SamplePoints places = random.points(), choices = sources_.count() == 1 ? places : random.choices();
    forEachRay(which, [&](int ray) {
      lamps[ray] = sources_.count() == 1 ? lampAt(points, ray, 0, places[ray])
                                         : chosenLamp(points, ray, places[ray], choices[ray], weigh);
      if (largest(lamps[ray].arriving) <= 0.0F) return;
      shadows.start(ray, points.leaving(ray), lamps[ray].direction, 0.0F, lamps[ray].distance * 0.9999F,
                    random.bits(ray));
    });
    if (shadows.active() == 0) return;
    forEachRay(shadows.findUnblocked(scene_),
               [&](int ray) { arrived(ray, lamps[ray].direction, lamps[ray].arriving); });
  }

  // Calls arrived(ray, towards, light, density) for a place on an emitter that each point sees.
  template <class Arrived>
  void findEmitters(const SurfacePoints& points, RaySet which, RandomNumbers random, const Arrived& arrived) const {
    if (emitters_.empty()) return;
    RayPacket shadows;
    PerRay<EmitterSample> samples;
    const SamplePoints places = random.points(), choices = random.choices();
    forEachRay(which, [&](int ray) {
      samples[ray] = emitters_.sample(points.position[ray], choices[ray].x, places[ray]);
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
    const auto sent = [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
      return arriving * std::max(0.0F, glm::dot(bounces.normal[ray], towards));
    };
    findLamp(
        bounces, bounced, {random.numbers, random.seed, kBounce},
        [&](int ray, glm::vec3 towards, glm::vec3 arriving) { return luminance(sent(ray, towards, arriving)); },
        [&](int ray, glm::vec3 towards, glm::vec3 arriving) { secondary.set(ray, sent(ray, towards, arriving)); });
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
  // A place on a lamp, dark where the point faces away from it.
  LightSample lampAt(const SurfacePoints& points, int ray, int lamp, glm::vec2 random) const {
    LightSample light = sources_.sample(lamp, points.position[ray], random);
    const bool faces = glm::dot(points.normal[ray], light.direction) > 0.0F &&
                       glm::dot(points.faceNormal[ray], light.direction) > 0.0F;
    if (!faces) light.arriving = glm::vec3(0.0F);
    return light;
  }

  template <class Weigh>
  LightSample chosenLamp(const SurfacePoints& points, int ray, glm::vec2 place, glm::vec2 choice,
                         const Weigh& weigh) const {
    const int count = std::min(sources_.count(), kLampsWeighed);
    // One by chance out of each of `count` equal shares of all, which is every one where there are no more.
    const float share = static_cast<float>(sources_.count()) / static_cast<float>(count);
    const auto lampIn = [&](int part) {
      return std::min(static_cast<int>((static_cast<float>(part) + choice.y) * share), sources_.count() - 1);
    };
    std::array<float, kLampsWeighed> sums;  // of weights up to and with each
    float sum = 0.0F;
    for (int i = 0; i < count; ++i) {
      const LightSample light = sources_.middle(lampIn(i), points.position[ray]);
      if (largest(light.arriving) > 0.0F) sum += std::max(0.0F, weigh(ray, light.direction, light.arriving));
      sums[static_cast<std::size_t>(i)] = sum;
    }
    if (!std::isnormal(sum)) return {glm::vec3(0.0F), 0.0F, glm::vec3(0.0F)};
    const auto found = std::upper_bound(sums.begin(), sums.begin() + count - 1, choice.x * sum);
    const float weight = *found - (found == sums.begin() ? 0.0F : *(found - 1));
    LightSample chosen = lampAt(points, ray, lampIn(static_cast<int>(found - sums.begin())), place);
    chosen.arriving *= weight > 0.0F ? share * sum / weight : 0.0F;
    return chosen;
  }

  const RayScene& scene_;
  const LightSources& sources_;
  const Emitters& emitters_;
};

}  // namespace

SentLight LightEstimate::at(const SurfacePoints& points, RaySet which, const VectorPerRay& directions,
                            const PerRay<std::uint32_t>& numbers, std::uint32_t seed, Reach reach) const {
  const LightTransport transport(scene_, sources_, emitters_);
  SentLight light{};
  PerRay<Reflection> reflections;
  forEachRay(which, [&](int ray) {
    reflections[ray] = Reflection(points, ray, -glm::normalize(directions[ray]));
    light.coat.set(ray, reflections[ray].coat());
  });
  const auto send = [&](int ray, const Reflection::Sent& sent, glm::vec3 arriving) {
    add(light.chalk, ray, sent.chalk * arriving);
    add(light.mirror, ray, sent.mirror * arriving);
  };
  transport.findLamp(
      points, which, {numbers, seed, kLamp},
      [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
        const float chalk = luminance(arriving) * std::max(0.0F, glm::dot(points.normal[ray], towards));
        if (!reflections[ray].shines()) return chalk;
        return chalk + luminance(arriving * reflections[ray].sent(towards, kHighlight).mirror);
      },
      [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
        send(ray, reflections[ray].sent(towards, kHighlight), arriving);
      });
  transport.findEmitters(points, which, {numbers, seed, kEmitter},
                         [&](int ray, glm::vec3 towards, glm::vec3 radiance, float density) {
                           const Reflection& here = reflections[ray];
                           const float weight = balance(density, here.density(towards)) / (density * glm::pi<float>());
                           send(ray, here.sent(towards, 0.0F), radiance * weight);
                         });

  if (reach == Reach::Lamps) return light;
  const RandomNumbers random{numbers, seed, kSurroundings};
  RayPacket rays;
  PerRay<float> densities;
  const SamplePoints places = random.points(), choices = random.choices();
  forEachRay(which, [&](int ray) {
    const Reflection& here = reflections[ray];
    const glm::vec3 towards = above(here.chosen(places[ray], choices[ray].x), points.faceNormal[ray]);
    densities[ray] = here.density(towards);
    if (!(densities[ray] > 1e-6F)) return;
    rays.start(ray, points.leaving(ray), towards, 0.0F, kInfinity, random.bits(ray));
  });
  if (rays.active() == 0) return light;
  const VectorPerRay arriving = transport.surroundings(rays, densities, random);
  forEachRay(rays.active(), [&](int ray) {
    const float weight = points.finish[ray].occlusion / (densities[ray] * glm::pi<float>());
    const Reflection::Sent sent = reflections[ray].sent(rays.direction(ray), 0.0F);
    light.around.set(ray, sent.chalk * weight * arriving[ray]);
    light.closeness[ray] = 1.0F / std::max(rays.hit(ray).distance, 1e-6F);  // nothing at no hit
    add(light.mirror, ray, sent.mirror * weight * arriving[ray]);
  });
  return light;
}

}  // namespace quillmere::render
