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
  PerRay<std::uint32_t> bits() const {
    PerRay<std::uint32_t> all;
    findRandomBits(numbers.values, sequence(), all.values);
    return all;
  }
};

// Highlights of lamps, which are too small for any ray to meet.
constexpr float kHighlight = 0.12F;

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

// What of light arrives at the points of a packet: a direction for each point, and nothing where none was found.
struct ArrivingLight {
  ArrivingLight() {
    for (int ray = 0; ray < kRays; ++ray) set(ray, {0.0F, 0.0F, 1.0F}, glm::vec3(0.0F));
  }
  void set(int ray, glm::vec3 from, glm::vec3 arriving) {
    towards.set(ray, from);
    light.set(ray, arriving);
  }
  VectorPerRay towards, light;
};

// Points that light is sent from, in numbers for all sixteen.
struct Places {
  Places(const SurfacePoints& points, RaySet those) : which(those) {
    forEachRay(which, [&](int ray) {
      leaving.set(ray, points.leaving(ray));
      normal.set(ray, points.normal[ray]);
      faceNormal.set(ray, points.faceNormal[ray]);
    });
  }
  // Those that face the directions with both normals.
  RaySet facing(const VectorPerRay& towards) const {
    PerRay<float> least;
    for (int ray = 0; ray < kRays; ++ray) {
      const float bent = glm::dot(normal[ray], towards[ray]), flat = glm::dot(faceNormal[ray], towards[ray]);
      least[ray] = bent < flat ? bent : flat;
    }
    RaySet set = 0;
    for (int ray = 0; ray < kRays; ++ray) set |= static_cast<RaySet>(least[ray] > 0.0F) << ray;
    return set & which;
  }

  RaySet which;
  VectorPerRay leaving{}, normal{}, faceNormal{};  // leaving: where rays start
};

// Adds what points send of the light that arrives, where it does.
void add(const Reflections::Sent& sent, const VectorPerRay& arriving, VectorPerRay& chalk, VectorPerRay& mirror) {
  const auto sum = [](const PerRay<float>& share, const PerRay<float>& light, PerRay<float>& sums) {
    for (int ray = 0; ray < kRays; ++ray) sums[ray] += light[ray] != 0.0F ? share[ray] * light[ray] : 0.0F;
  };
  sum(sent.chalk, arriving.x, chalk.x);
  sum(sent.chalk, arriving.y, chalk.y);
  sum(sent.chalk, arriving.z, chalk.z);
  sum(sent.mirror.x, arriving.x, mirror.x);
  sum(sent.mirror.y, arriving.y, mirror.y);
  sum(sent.mirror.z, arriving.z, mirror.z);
}

// Adds to what the points of one packet send.
class LightTransport {
 public:
  LightTransport(const RayScene& scene, const LightSources& sources, const Emitters& emitters)
      : scene_(scene), sources_(sources), emitters_(emitters) {}

  // What comes from one lamp of all that each point sees, chosen by chance the more often the larger
  // weigh(ray, towards, light) is, which is asked where there are several; `light` is what white that faces all lamps
  // sends back, in the mean.
  template <class Weigh>
  ArrivingLight fromLamp(const SurfacePoints& points, const Places& places, RandomNumbers random,
                         const Weigh& weigh) const {
    ArrivingLight found;
    if (sources_.count() == 0) return found;
    LightSamples lamps;
    if (sources_.count() == 1) {
      sources_.sampleAll(0, points.position, places.which, random.points(), lamps);
    } else {
      chooseLamps(points, places.which, random, weigh, lamps);
    }
    RaySet lit = places.facing(lamps.direction);
    PerRay<float> farthest;
    for (int ray = 0; ray < kRays; ++ray) farthest[ray] = lamps.distance[ray] * 0.9999F;
    forEachRay(lit, [&](int ray) { lit &= largest(lamps.arriving[ray]) > 0.0F ? ~RaySet{0} : ~setOf(ray); });
    if (lit == 0) return found;
    RayPacket shadows(lit, places.leaving, lamps.direction, farthest, random.bits());
    forEachRay(shadows.findUnblocked(scene_),
               [&](int ray) { found.set(ray, lamps.direction[ray], lamps.arriving[ray]); });
    return found;
  }

  // What comes from a place on an emitter that each point sees: its radiance, and how often places are chosen, per
  // steradian.
  ArrivingLight fromEmitters(const SurfacePoints& points, const Places& from, RandomNumbers random,
                             PerRay<float>& densities) const {
    ArrivingLight found;
    RayPacket shadows;
    PerRay<EmitterSample> samples;
    const SamplePoints places = random.points(), choices = random.choices();
    forEachRay(from.which, [&](int ray) {
      samples[ray] = emitters_.sample(points.position[ray], choices[ray].x, places[ray]);
      const glm::vec3 towards = samples[ray].direction;
      if (samples[ray].density <= 0.0F || glm::dot(points.normal[ray], towards) <= 0.0F) return;
      if (glm::dot(points.faceNormal[ray], towards) <= 0.0F) return;
      shadows.start(ray, from.leaving[ray], towards, 0.0F, samples[ray].distance * 0.999F, random.bits(ray));
    });
    if (shadows.active() == 0) return found;
    forEachRay(shadows.findUnblocked(scene_), [&](int ray) {
      found.set(ray, samples[ray].direction, sources_.stops() * samples[ray].emission);
      densities[ray] = samples[ray].density;
    });
    return found;
  }

  // What comes from those directions, which active `rays` lead to and were chosen with those densities. Of emitters
  // the part that fromEmitters leaves to it.
  VectorPerRay surroundings(RayPacket& rays, const PerRay<float>& densities, RandomNumbers random) const {
    rays.findNearest(scene_, RayUse::Bounce);
    SurfacePoints bounces;
    const RaySet bounced = rays.found();
    forEachRay(bounced, [&](int ray) {
      const Hit hit = rays.hit(ray);
      bounces.resolve(ray, scene_, hit, rays.direction(ray), 0.1F * hit.distance);
    });
    const auto sent = [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
      return arriving * std::max(0.0F, glm::dot(bounces.normal[ray], towards));
    };
    const ArrivingLight lamp = fromLamp(
        bounces, Places(bounces, bounced), {random.numbers, random.seed, kBounce},
        [&](int ray, glm::vec3 towards, glm::vec3 arriving) { return luminance(sent(ray, towards, arriving)); });
    VectorPerRay light;
    forEachRay(bounced, [&](int ray) {
      const float other = emitters_.density(bounces, ray, rays.direction(ray), rays.hit(ray).distance);
      const glm::vec3 emitted = sources_.stops() * balance(densities[ray], other) * bounces.emission[ray];
      const glm::vec3 secondary = sent(ray, lamp.towards[ray], lamp.light[ray]);
      light.set(ray, bounces.color[ray] * (secondary + sources_.ambient()) + emitted);
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
  template <class Weigh>
  void chooseLamps(const SurfacePoints& points, RaySet which, RandomNumbers random, const Weigh& weigh,
                   LightSamples& lamps) const {
    const SamplePoints places = random.points(), choices = random.choices();
    lamps = {};
    forEachRay(which, [&](int ray) {
      const LightSample lamp = chosenLamp(points, ray, places[ray], choices[ray], weigh);
      lamps.direction.set(ray, lamp.direction);
      lamps.arriving.set(ray, lamp.arriving);
      lamps.distance[ray] = lamp.distance;
    });
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
    LightSample chosen = sources_.sample(lampIn(static_cast<int>(found - sums.begin())), points.position[ray], place);
    chosen.arriving *= weight > 0.0F ? share * sum / weight : 0.0F;
    return chosen;
  }

  const RayScene& scene_;
  const LightSources& sources_;
  const Emitters& emitters_;
};

// The points of one packet, and what they send.
class PacketLight {
 public:
  PacketLight(const LightTransport& transport, const SurfacePoints& points, const FollowedPoints& followed,
              const VectorPerRay& directions, const PerRay<std::uint32_t>& numbers, std::uint32_t seed)
      : transport_(transport),
        points_(points),
        numbers_(numbers),
        seed_(seed),
        places_(points, followed.lamps),
        reflections_(points, followed.lamps, directions) {
    reflections_.findCoats(sent_.coat);
  }
  const SentLight& sent() const { return sent_; }

  void addLamp() {
    const auto weigh = [&](int ray, glm::vec3 towards, glm::vec3 arriving) {
      const float chalk = luminance(arriving) * std::max(0.0F, glm::dot(points_.normal[ray], towards));
      if (!reflections_.shines(ray)) return chalk;
      return chalk + luminance(arriving * reflections_.mirrored(ray, towards, kHighlight));
    };
    const ArrivingLight lamp = transport_.fromLamp(points_, places_, random(kLamp), weigh);
    Reflections::Sent sent;
    reflections_.findSent(lamp.towards, kHighlight, sent);
    add(sent, lamp.light, sent_.chalk, sent_.mirror);
  }

  void addEmitters() {
    PerRay<float> densities{}, others;
    ArrivingLight emitted = transport_.fromEmitters(points_, places_, random(kEmitter), densities);
    reflections_.findDensities(emitted.towards, others);
    forEachRay(places_.which, [&](int ray) {
      if (densities[ray] <= 0.0F) return;
      const float weight = balance(densities[ray], others[ray]) / (densities[ray] * glm::pi<float>());
      emitted.light.set(ray, emitted.light[ray] * weight);
    });
    Reflections::Sent sent;
    reflections_.findSent(emitted.towards, 0.0F, sent);
    add(sent, emitted.light, sent_.chalk, sent_.mirror);
  }

  void addSurroundings(RaySet which) {
    PerRay<float> densities, farthest;
    VectorPerRay towards;
    reflections_.choose(random(kSurroundings).points(), random(kSurroundings).choices(), towards);
    for (int ray = 0; ray < kRays; ++ray) {
      towards.set(ray, above(towards[ray], places_.faceNormal[ray]));
      farthest[ray] = kInfinity;
    }
    reflections_.findDensities(towards, densities);
    RaySet chosen = 0;
    forEachRay(which, [&](int ray) { chosen |= densities[ray] > 1e-6F ? setOf(ray) : 0; });
    if (chosen == 0) return;
    RayPacket rays(chosen, places_.leaving, towards, farthest, random(kSurroundings).bits());
    const VectorPerRay arriving = transport_.surroundings(rays, densities, random(kSurroundings));
    Reflections::Sent sent;
    reflections_.findSent(towards, 0.0F, sent);
    forEachRay(chosen, [&](int ray) {
      const float weight = points_.finish[ray].occlusion / (densities[ray] * glm::pi<float>());
      sent_.around.set(ray, sent.chalk[ray] * weight * arriving[ray]);
      sent_.closeness[ray] = 1.0F / std::max(rays.hit(ray).distance, 1e-6F);  // nothing at no hit
      sent_.mirror.set(ray, sent_.mirror[ray] + sent.mirror[ray] * weight * arriving[ray]);
    });
  }

 private:
  RandomNumbers random(Purpose purpose) const { return {numbers_, seed_, purpose}; }

  const LightTransport& transport_;
  const SurfacePoints& points_;
  const PerRay<std::uint32_t>& numbers_;
  std::uint32_t seed_;
  Places places_;
  Reflections reflections_;
  SentLight sent_{};
};

}  // namespace

SentLight LightEstimate::at(const SurfacePoints& points, const FollowedPoints& followed, const VectorPerRay& directions,
                            const PerRay<std::uint32_t>& numbers, std::uint32_t seed) const {
  const LightTransport transport(scene_, sources_, emitters_);
  PacketLight light(transport, points, followed, directions, numbers, seed);
  light.addLamp();
  if (!emitters_.empty()) light.addEmitters();
  if (followed.arounds != 0) light.addSurroundings(followed.arounds);
  return light.sent();
}

}  // namespace quillmere::render
