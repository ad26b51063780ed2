#include "illumination.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr int kLampsPerPoint = 4;  // of a scene with more, that many are chosen by chance
constexpr float kInfinity = std::numeric_limits<float>::infinity();

enum Purpose : std::uint32_t { kLamp = 100, kSurroundings = 200, kBounce = 300 };

template <class Action>
void forEachRay(RaySet which, const Action& action) {
  for (; which != 0; which &= which - 1) action(std::countr_zero(which));
}

// Directions below the face, which only smoothed normals lead to, are turned up above it.
glm::vec3 above(glm::vec3 direction, glm::vec3 faceNormal) {
  const float height = glm::dot(direction, faceNormal);
  return height < 0.0F ? direction - 2.0F * height * faceNormal : direction;
}

}  // namespace

glm::vec2 Illumination::Draw::point(int ray) const {
  return samplePoint(sample, seeds[static_cast<std::size_t>(ray)] + 0x9e3779b9U * purpose);
}

std::uint32_t Illumination::Draw::chance(int ray) const {
  return mixed(seeds[static_cast<std::size_t>(ray)] ^ mixed(sample + (purpose << 20)));
}

Light16 Illumination::at(const Points& points, RaySet which, std::uint32_t sample,
                         const RayPacket::PerRay<std::uint32_t>& seeds) const {
  Light16 received{};
  addLamps(points, which, kLampsPerPoint, {sample, seeds, kLamp}, received);
  addSurroundings(points, which, {sample, seeds, kSurroundings}, received);
  return received;
}

void Illumination::addLamps(const Points& points, RaySet which, int lamps, Draw draw, Light16& received) const {
  const int count = std::min(lamps, lighting_.count());
  // One by chance out of each of `count` equal shares of all, which is every one where there are no more.
  const float share = static_cast<float>(lighting_.count()) / static_cast<float>(count);
  for (int i = 0; i < count; ++i, ++draw.purpose) {
    RayPacket::PerRay<int> chosen{};
    forEachRay(which, [&](int ray) {
      const float place = (static_cast<float>(i) + unitFloat(draw.chance(ray))) * share;
      chosen[static_cast<std::size_t>(ray)] = std::min(static_cast<int>(place), lighting_.count() - 1);
    });
    addOneLamp(points, which, chosen, draw, share, received);
  }
}

void Illumination::addOneLamp(const Points& points, RaySet which, const RayPacket::PerRay<int>& lamps, Draw draw,
                              float weight, Light16& received) const {
  RayPacket shadows;
  Light16 arriving;
  forEachRay(which, [&](int ray) {
    const auto i = static_cast<std::size_t>(ray);
    const LightSample light = lighting_.sample(lamps[i], points[i].position, draw.point(ray));
    const float cosine = glm::dot(points[i].normal, light.direction);
    if (cosine <= 0.0F || glm::dot(points[i].faceNormal, light.direction) <= 0.0F) return;
    arriving[i] = light.arriving * (cosine * weight);
    if (std::max({arriving[i].x, arriving[i].y, arriving[i].z}) <= 0.0F) return;
    shadows.arm(ray, points[i].leaving(), light.direction, 0.0F, light.distance * 0.9999F, draw.chance(ray));
  });
  if (!shadows.anyArmed()) return;
  shadows.findAny(scene_.solid(), {scene_, Blending::Dithered, Bundle::Scattered});
  forEachRay(which, [&](int ray) {
    const auto i = static_cast<std::size_t>(ray);
    if (shadows.isArmed(ray) && !shadows.isBlocked(ray)) received[i] += arriving[i];
  });
}

void Illumination::addSurroundings(const Points& points, RaySet which, Draw draw, Light16& received) const {
  RayPacket rays;
  forEachRay(which, [&](int ray) {
    const SurfacePoint& point = points[static_cast<std::size_t>(ray)];
    const glm::vec3 direction = above(overHemisphere(point.normal, draw.point(ray)), point.faceNormal);
    rays.arm(ray, point.leaving(), direction, 0.0F, kInfinity, draw.chance(ray));
  });
  rays.findNearest(scene_.solid(), {scene_, Blending::Dithered, Bundle::Scattered});

  Points bounces;
  RaySet bounced = 0;
  forEachRay(which, [&](int ray) {
    const auto i = static_cast<std::size_t>(ray);
    if (rays.found(ray)) {
      const Hit hit = rays.hit(ray);
      bounces[i] = surfacePoint(scene_, hit, rays.direction(ray), 0.1F * hit.distance);
      bounced |= RaySet{1} << ray;
    } else {
      received[i] += lighting_.sky().radiance(rays.direction(ray));
    }
  });
  Light16 secondary{};
  addLamps(bounces, bounced, 1, {draw.sample, draw.seeds, kBounce}, secondary);
  forEachRay(bounced, [&](int ray) {
    const auto i = static_cast<std::size_t>(ray);
    received[i] += glm::vec3(bounces[i].color) * (secondary[i] + lighting_.sky().ambient());
  });
}

}  // namespace quillmere::render
