#include "light_transport.h"

#include <algorithm>
#include <limits>

#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr int kLampsPerPoint = 4;  // of a scene with more, that many are chosen by chance
constexpr float kInfinity = std::numeric_limits<float>::infinity();

enum Purpose : std::uint32_t { kLamp = 100, kSurroundings = 200, kBounce = 300 };

// Directions below the face, which only smoothed normals lead to, are turned up above it.
glm::vec3 above(glm::vec3 direction, glm::vec3 faceNormal) {
  const float height = glm::dot(direction, faceNormal);
  return height < 0.0F ? direction - 2.0F * height * faceNormal : direction;
}

struct RandomNumbers {
  std::uint32_t sample;
  const PerRay<std::uint32_t>& seeds;
  std::uint32_t purpose;  // those of different purposes are independent

  glm::vec2 point(int ray) const { return samplePoint(sample, seeds[ray] + 0x9e3779b9U * purpose); }
  std::uint32_t bits(int ray) const { return mixed(seeds[ray] ^ mixed(sample + (purpose << 20))); }
};

// Adds to what the points of one packet receive.
class LightTransport {
 public:
  LightTransport(const RayScene& scene, const LightSources& sources) : scene_(scene), sources_(sources) {}

  void addLamps(const SurfacePoints& points, RaySet which, int lamps, RandomNumbers random,
                VectorPerRay& received) const {
    const int count = std::min(lamps, sources_.count());
    // One by chance out of each of `count` equal shares of all, which is every one where there are no more.
    const float share = static_cast<float>(sources_.count()) / static_cast<float>(count);
    for (int i = 0; i < count; ++i, ++random.purpose) {
      PerRay<int> chosen{};
      forEachRay(which, [&](int ray) {
        const float place = (static_cast<float>(i) + unitFloat(random.bits(ray))) * share;
        chosen[ray] = std::min(static_cast<int>(place), sources_.count() - 1);
      });
      addOneLamp(points, which, chosen, random, share, received);
    }
  }

  void addOneLamp(const SurfacePoints& points, RaySet which, const PerRay<int>& lamps, RandomNumbers random,
                  float weight, VectorPerRay& received) const {
    RayPacket shadows;
    VectorPerRay arriving;
    forEachRay(which, [&](int ray) {
      const LightSample light = sources_.sample(lamps[ray], points.position[ray], random.point(ray));
      const float cosine = glm::dot(points.normal[ray], light.direction);
      if (cosine <= 0.0F || glm::dot(points.faceNormal[ray], light.direction) <= 0.0F) return;
      const glm::vec3 share = light.arriving * (cosine * weight);
      if (std::max({share.x, share.y, share.z}) <= 0.0F) return;
      arriving.set(ray, share);
      shadows.start(ray, points.leaving(ray), light.direction, 0.0F, light.distance * 0.9999F, random.bits(ray));
    });
    if (shadows.active() == 0) return;
    const RaySet lit = shadows.findUnblocked(scene_);
    forEachRay(lit, [&](int ray) { received.set(ray, received[ray] + arriving[ray]); });
  }

  void addSurroundings(const SurfacePoints& points, RaySet which, RandomNumbers random, VectorPerRay& received) const {
    RayPacket rays;
    forEachRay(which, [&](int ray) {
      const glm::vec3 around = overHemisphere(points.normal[ray], random.point(ray));
      rays.start(ray, points.leaving(ray), above(around, points.faceNormal[ray]), 0.0F, kInfinity, random.bits(ray));
    });
    rays.findNearest(scene_, RayUse::Light);

    SurfacePoints bounces;
    const RaySet bounced = rays.found();
    forEachRay(bounced, [&](int ray) {
      const Hit hit = rays.hit(ray);
      bounces.resolve(ray, scene_, hit, rays.direction(ray), 0.1F * hit.distance);
    });
    VectorPerRay secondary{};
    addLamps(bounces, bounced, 1, {random.sample, random.seeds, kBounce}, secondary);
    forEachRay(which, [&](int ray) {
      const bool isSky = (bounced & setOf(ray)) == 0;
      const glm::vec3 light = isSky
                                  ? sources_.sky(rays.direction(ray))
                                  : bounces.color[ray] * (secondary[ray] + sources_.ambient()) + bounces.emission[ray];
      received.set(ray, received[ray] + light);
    });
  }

 private:
  const RayScene& scene_;
  const LightSources& sources_;
};

}  // namespace

VectorPerRay lightAt(const RayScene& scene, const LightSources& sources, const SurfacePoints& points, RaySet which,
                     std::uint32_t sample, const PerRay<std::uint32_t>& seeds) {
  const LightTransport transport(scene, sources);
  VectorPerRay received{};
  transport.addLamps(points, which, kLampsPerPoint, {sample, seeds, kLamp}, received);
  transport.addSurroundings(points, which, {sample, seeds, kSurroundings}, received);
  return received;
}

}  // namespace quillmere::render
