#include "ray_packet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace quillmere::render {
namespace {

// Which rays Embree is to trace: -1 for those, 0 for the others.
struct TraceMask {
  explicit TraceMask(RaySet rays) {
    for (int ray = 0; ray < kRays; ++ray) valid[static_cast<std::size_t>(ray)] = -static_cast<int>(rays >> ray & 1U);
  }
  alignas(64) std::array<int, kRays> valid;
};

template <class Test>
RaySet raysThat(const Test& test) {
  RaySet set = 0;
  for (int ray = 0; ray < kRays; ++ray) set |= static_cast<RaySet>(test(ray)) << ray;
  return set;
}

// `direction` with unit length, or `otherwise` where it has none (zero, overflown or not a number).
glm::vec3 unit(glm::vec3 direction, glm::vec3 otherwise) {
  const float square = glm::dot(direction, direction);
  return std::isnormal(square) ? direction / std::sqrt(square) : otherwise;
}

glm::vec3 towards(glm::vec3 normal, glm::vec3 viewer) {
  return glm::dot(normal, viewer) < 0.0F ? -normal : normal;
}

FourVectors towards(const FourVectors& normals, const FourVectors& viewers) {
  return chosen(dot(normals, viewers) < four(0.0F), four(-1.0F) * normals, normals);
}

FourVectors unit(const FourVectors& directions, const FourVectors& otherwise) {
  constexpr float kLeast = std::numeric_limits<float>::min(), kMost = std::numeric_limits<float>::max();
  const Four square = dot(directions, directions);
  const FourVectors turned = (four(1.0F) / rootOf(square)) * directions;
  return chosen((square >= four(kLeast)) & (square <= four(kMost)), turned, otherwise);
}

constexpr float kLeastCosine = 0.05F;

// Of a triangle's area what a pixel covers; one that looks along the surface covers more of it, of which the geometric
// mean of both directions is taken.
float shareOf(float doubleArea, float pixelHeight, float cosine) {
  return pixelHeight * pixelHeight / (doubleArea * std::max(cosine, kLeastCosine));
}

// `normal` turned as a normal map says: its red along growing u, its green against growing v (glTF 2.0, 3.9.3).
glm::vec3 bent(glm::vec3 normal, const ShadingMaterial& material, const SurfacePlace& place, const Triangle& triangle) {
  const auto uvs = uvsAt(material.normalMap, place);
  if (!uvs) return normal;
  const glm::vec2 a = uvs->second - uvs->first, b = uvs->third - uvs->first;
  const float area = a.x * b.y - a.y * b.x;
  const glm::vec3 alongU = (triangle.edge1 * b.y - triangle.edge2 * a.y) * (area < 0.0F ? -1.0F : 1.0F);
  const glm::vec3 alongV = (triangle.edge2 * a.x - triangle.edge1 * b.x) * (area < 0.0F ? -1.0F : 1.0F);
  const glm::vec3 u = unit(alongU - normal * glm::dot(normal, alongU), glm::vec3(0.0F));
  const glm::vec3 v = unit(alongV - normal * glm::dot(normal, alongV), glm::vec3(0.0F));
  const glm::vec3 told = 2.0F * glm::vec3(read(material.normalMap, place)) - 1.0F;
  const float scale = material.definition->normalScale;
  return unit(u * (told.x * scale) - v * (told.y * scale) + normal * told.z, normal);
}

void fill(float (&lanes)[kRays], float value) {
  std::fill(std::begin(lanes), std::end(lanes), value);
}
void fill(unsigned int (&lanes)[kRays], unsigned int value) {
  std::fill(std::begin(lanes), std::end(lanes), value);
}
void copy(const PerRay<float>& from, float (&lanes)[kRays]) {
  std::memcpy(lanes, from.values, sizeof lanes);  // std::copy calls memmove, as the two might overlap
}

}  // namespace

// The rest of the hits is Embree's to write.
// cppcheck-suppress uninitMemberVar
RayPacket::RayPacket(RaySet active, const VectorPerRay& origins, const VectorPerRay& directions, float nearest,
                     float farthest)
    : active_(active) {
  RTCRay16& rays = rays_.ray;
  copy(origins.x, rays.org_x);
  copy(origins.y, rays.org_y);
  copy(origins.z, rays.org_z);
  copy(directions.x, rays.dir_x);
  copy(directions.y, rays.dir_y);
  copy(directions.z, rays.dir_z);
  fill(rays.tnear, nearest);
  fill(rays.tfar, farthest);
  fill(rays.time, 0.0F);
  fill(rays.mask, ~0U);
  fill(rays.id, 0U);
  fill(rays.flags, 0U);
  fill(rays_.hit.geomID, RTC_INVALID_GEOMETRY_ID);
  fill(rays_.hit.instID[0], RTC_INVALID_GEOMETRY_ID);
}

RayPacket::RayPacket(RaySet active, const VectorPerRay& origins, const VectorPerRay& directions,
                     const PerRay<float>& farthest, const PerRay<std::uint32_t>& random)
    : RayPacket(active, origins, directions, 0.0F, 0.0F) {
  copy(farthest, rays_.ray.tfar);
  std::memcpy(rays_.ray.id, random.values, sizeof rays_.ray.id);
}

void RayPacket::start(int ray, glm::vec3 origin, glm::vec3 direction, float nearest, float farthest,
                      std::uint32_t random) {
  RTCRay16& rays = rays_.ray;
  rays.org_x[ray] = origin.x;
  rays.org_y[ray] = origin.y;
  rays.org_z[ray] = origin.z;
  rays.dir_x[ray] = direction.x;
  rays.dir_y[ray] = direction.y;
  rays.dir_z[ray] = direction.z;
  rays.tnear[ray] = nearest;
  rays.tfar[ray] = farthest;
  rays.time[ray] = 0.0F;
  rays.mask[ray] = ~0U;
  rays.id[ray] = random;
  rays.flags[ray] = 0;
  rays_.hit.geomID[ray] = RTC_INVALID_GEOMETRY_ID;
  rays_.hit.instID[0][ray] = RTC_INVALID_GEOMETRY_ID;
  active_ |= setOf(ray);
}

void RayPacket::goOnBehindHit(int ray, float farthest) {
  constexpr float kStep = 1.0F + 4e-6F;  // past the rounding of the hit, short of any sheet behind
  rays_.ray.tnear[ray] = rays_.ray.tfar[ray] * kStep;
  rays_.ray.tfar[ray] = farthest;
  rays_.hit.geomID[ray] = RTC_INVALID_GEOMETRY_ID;
  rays_.hit.instID[0][ray] = RTC_INVALID_GEOMETRY_ID;
}

void RayPacket::findNearest(const RayScene& scene, RayUse use) {
  scene.intersect(TraceMask(active_).valid.data(), rays_, use);
}

RaySet RayPacket::found() const {
  return active_ & raysThat([&](int ray) { return rays_.hit.geomID[ray] != RTC_INVALID_GEOMETRY_ID; });
}

bool RayPacket::allAgree() const {
  const RTCHit16& hits = rays_.hit;
  unsigned int different = 0;
  for (int ray = 0; ray < kRays; ++ray) {
    different |= hits.geomID[ray];  // 0 of all hits, as shapes hold one geometry
    different |= (hits.primID[ray] ^ hits.primID[0]) | (hits.instID[0][ray] ^ hits.instID[0][0]);
  }
  return different == 0 && active_ == (RaySet{1} << kRays) - 1;
}

RaySet RayPacket::agreeing(int ray) const {
  const RTCHit16& hits = rays_.hit;
  const unsigned int triangle = hits.primID[ray], instance = hits.instID[0][ray];
  return active_ & raysThat([&](int other) {
           return ((hits.primID[other] ^ triangle) | (hits.instID[0][other] ^ instance) | hits.geomID[other]) == 0;
         });
}

RaySet RayPacket::findUnblocked(const RayScene& scene) {
  scene.occlude(TraceMask(active_).valid.data(), rays_.ray);
  return active_ & raysThat([&](int ray) { return !(rays_.ray.tfar[ray] < 0.0F); });
}

Triangle triangleOf(const scene::Surface& surface, glm::uvec3 corners) {
  const std::vector<glm::vec3>& positions = surface.geometry->positions;
  const glm::mat3 turned(surface.toWorld);
  const glm::vec3 corner = positions[corners.x];
  return {glm::vec3(surface.toWorld * glm::vec4(corner, 1.0F)), turned * (positions[corners.y] - corner),
          turned * (positions[corners.z] - corner)};
}

MetTriangle::MetTriangle(const RayScene& scene, std::uint32_t instance, std::uint32_t index)
    : met_(&scene.instances()[instance]),
      instance_(instance),
      index_(index),
      corners_(cornersOf(*met_->surface->geometry, index)),
      world_(triangleOf(*met_->surface, corners_)),
      cross_(glm::cross(world_.edge1, world_.edge2)) {
  const float square = glm::dot(cross_, cross_);
  doubleArea_ = std::sqrt(square);
  if (std::isnormal(square)) normal_ = cross_ / doubleArea_;
}

void SurfacePoints::resolve(int at, const MetTriangle& on, const Hit& hit, glm::vec3 direction, float pixelHeight) {
  const Instance& met = *on.met_;
  const ShadingMaterial& shown = *met.material;
  const scene::Geometry& geometry = *met.surface->geometry;
  SurfacePlace place(geometry, hit.point, on.corners_);
  const bool isFlat = on.normal_ != glm::vec3(0.0F);
  const glm::vec3 flat = isFlat ? towards(on.normal_, -direction) : unit(-direction, {0.0F, 0.0F, 1.0F});
  if (shown.textured) {
    const glm::vec3 viewer = unit(-direction, {0.0F, 0.0F, 1.0F});
    place.share = shareOf(on.doubleArea_, pixelHeight, glm::dot(flat, viewer));
  }
  const glm::vec4 rgba = colorOf(shown, place);

  position.set(at, on.world_.corner + hit.point.u * on.world_.edge1 + hit.point.v * on.world_.edge2);
  faceNormal.set(at, flat);
  glm::vec3 facing = flat;
  if (!geometry.normals.empty()) {
    // A smoothed normal belongs to the side that its triangle shows, also where it already leans over the edge.
    const glm::vec3 smooth = met.normalToWorld * interpolated(geometry.normals, place.corners, hit.point);
    facing = towards(unit(smooth, flat), flat);
  }
  if (shown.normalMap) {
    // The map belongs to the side that the geometry's normals are on.
    const float side = glm::dot(on.cross_, flat) * met.mirroring < 0.0F ? -1.0F : 1.0F;
    facing = side * bent(side * facing, shown, place, on.world_);
  }
  normal.set(at, facing);
  fillIn(at, on, rgba, emissionOf(shown, place), finishOf(shown, place));
}

void SurfacePoints::fillIn(int at, const MetTriangle& on, glm::vec4 rgba, glm::vec3 given, const Finish& reflecting) {
  color.set(at, rgba);
  emission.set(at, given);
  finish[at] = reflecting;
  alpha[at] = rgba.a;
  instance[at] = on.instance_;
  material[at] = on.met_->material;
}

namespace {

// The four normals on their geometry's smooth surface.
FourVectors smoothAt(const Instance& met, glm::uvec3 corners, const FourHits& hits) {
  const std::vector<glm::vec3>& normals = met.surface->geometry->normals;
  const Four first = four(1.0F) - hits.u - hits.v;
  return met.normalToWorld *
         (first * FourVectors::of(normals[corners.x]) + hits.u * FourVectors::of(normals[corners.y]) +
          hits.v * FourVectors::of(normals[corners.z]));
}

}  // namespace

// The same steps as of one point, but for what `isPlain` rules out.
FourPoints::FourPoints(const MetTriangle& on, const FourHits& hits) {
  const Instance& met = *on.met_;
  const scene::Geometry& geometry = *met.surface->geometry;
  const FourVectors face = FourVectors::of(on.normal_);
  const Four facing = dot(face, hits.direction);
  faceNormal = chosen(facing > four(0.0F), FourVectors::of(-on.normal_), face);
  normal = faceNormal;
  if (!geometry.normals.empty()) {
    normal = towards(unit(smoothAt(met, on.corners_, hits), faceNormal), faceNormal);
  }
  Four share = four(0.0F);
  if (met.material->textured) {
    const Four cosine = chosen(facing < four(0.0F), -facing, facing) / rootOf(dot(hits.direction, hits.direction));
    share = hits.pixelHeight * hits.pixelHeight /
            (on.doubleArea_ * chosen(cosine < four(kLeastCosine), four(kLeastCosine), cosine));
  }
  colors = colorsOf(*met.material, {geometry, on.corners_, hits.u, hits.v, share});
}

void SurfacePoints::resolveFour(const MetTriangle& on, const FourHits& hits) {
  const FourPoints points(on, hits);
  const FourVectors place = FourVectors::of(on.world_.corner) + hits.u * FourVectors::of(on.world_.edge1) +
                            hits.v * FourVectors::of(on.world_.edge2);
  const SurfacePlace anywhere(*on.met_->surface->geometry, {on.index_, 0.0F, 0.0F}, on.corners_);
  const glm::vec3 given = emissionOf(on.material(), anywhere);
  const Finish reflecting = finishOf(on.material(), anywhere);
  for (int i = 0; i < 4; ++i) {
    const int at = 4 * i;
    position.set(at, place[i]);
    faceNormal.set(at, points.faceNormal[i]);
    normal.set(at, points.normal[i]);
    fillIn(at, on, points.colors[static_cast<std::size_t>(i)], given, reflecting);
  }
}

glm::vec3 SurfacePoints::leaving(int at) const {
  constexpr float kRelative = 1e-5F;  // some hundred roundings of the largest coordinate
  const glm::vec3 from = position[at], size = glm::abs(from);
  return from + faceNormal[at] * (kRelative * std::max({size.x, size.y, size.z, 1e-3F}));
}

}  // namespace quillmere::render
