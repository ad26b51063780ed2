#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <glm/glm.hpp>

#include "four.h"
#include "ray_scene.h"

namespace quillmere::render {

constexpr int kRays = 16;  // of a packet

// A set of rays of one packet, a bit for each.
using RaySet = std::uint32_t;
constexpr RaySet setOf(int ray) {
  return RaySet{1} << ray;
}
template <class Action>
void forEachRay(RaySet set, const Action& action) {
  for (; set != 0; set &= set - 1) action(std::countr_zero(set));
}

// One value for each ray of a packet.
template <class Value>
struct PerRay {
  Value values[kRays];

  Value& operator[](int ray) { return values[ray]; }
  const Value& operator[](int ray) const { return values[ray]; }
};

struct VectorPerRay {
  PerRay<float> x, y, z;

  glm::vec3 operator[](int ray) const { return {x[ray], y[ray], z[ray]}; }
  void set(int ray, glm::vec3 vector) {
    x[ray] = vector.x;
    y[ray] = vector.y;
    z[ray] = vector.z;
  }
};

struct Hit {
  std::uint32_t instance;
  TrianglePoint point;
  float distance;  // in lengths of the ray's direction
};

// Sixteen rays that are traced together; those that are not active are left alone.
class RayPacket {
 public:
  RayPacket() : rays_{} {}
  // Starts the rays of `active`. The other entries must hold numbers, too; nobody looks at them.
  RayPacket(RaySet active, const VectorPerRay& origins, const VectorPerRay& directions, float nearest, float farthest);
  // The same from the origins on, each as far as its own; `random` as below.
  RayPacket(RaySet active, const VectorPerRay& origins, const VectorPerRay& directions, const PerRay<float>& farthest,
            const PerRay<std::uint32_t>& random);

  // Makes a ray active, from `nearest` to `farthest` in lengths of its direction. `random` decides dithered hits.
  void start(int ray, glm::vec3 origin, glm::vec3 direction, float nearest, float farthest, std::uint32_t random);
  // Sends an active ray on behind its hit.
  void goOnBehindHit(int ray, float farthest);
  void end(RaySet rays) { active_ &= ~rays; }
  RaySet active() const { return active_; }

  // The nearest hit of each active ray.
  void findNearest(const RayScene& scene, RayUse use);
  RaySet found() const;   // the active rays that hit something
  bool allAgree() const;  // whether all sixteen rays are active and hit the same triangle
  // The active rays that hit the same triangle as one of them, which hit something.
  RaySet agreeing(int ray) const;
  Hit hit(int ray) const {
    const RTCHit16& hits = rays_.hit;
    return {hits.instID[0][ray], {hits.primID[ray], hits.u[ray], hits.v[ray]}, rays_.ray.tfar[ray]};
  }

  // The active rays that nothing stops, for light. Ends no ray, but their hits and ends are lost.
  RaySet findUnblocked(const RayScene& scene);

  glm::vec3 origin(int ray) const { return {rays_.ray.org_x[ray], rays_.ray.org_y[ray], rays_.ray.org_z[ray]}; }
  glm::vec3 direction(int ray) const { return {rays_.ray.dir_x[ray], rays_.ray.dir_y[ray], rays_.ray.dir_z[ray]}; }

 private:
  RaySet active_ = 0;
  RTCRayHit16 rays_;
};

// A triangle in the world.
struct Triangle {
  glm::vec3 corner, edge1, edge2;
};
Triangle triangleOf(const scene::Surface& surface, glm::uvec3 corners);

// A triangle that rays met, with what is the same wherever they met it.
class MetTriangle {
 public:
  MetTriangle() = default;  // none: to be assigned before it is used
  MetTriangle(const RayScene& scene, std::uint32_t instance, std::uint32_t index);

  bool is(std::uint32_t instance, std::uint32_t index) const {
    return met_ != nullptr && instance_ == instance && index_ == index;
  }
  // Whether SurfacePoints::resolveFour may be called.
  bool isPlain() const { return met_->material->plain && normal_ != glm::vec3(0.0F); }
  const ShadingMaterial& material() const { return *met_->material; }
  std::uint32_t instance() const { return instance_; }  // index into RayScene::instances

 private:
  friend struct SurfacePoints;
  friend struct FourPoints;

  const Instance* met_ = nullptr;
  std::uint32_t instance_ = 0, index_ = 0;
  glm::uvec3 corners_{};
  Triangle world_{};
  glm::vec3 cross_{}, normal_{};  // the cross product of its edges; that with unit length, or 0 where it has none
  float doubleArea_ = 0.0F;
};

// Where four rays met one triangle.
struct FourHits {
  Four u, v;  // weights of the triangle's second and third corner
  FourVectors direction;
  Four pixelHeight;  // metres
};

// What those show, as in SurfacePoints. The triangle's isPlain() must hold.
struct FourPoints {
  FourPoints(const MetTriangle& on, const FourHits& hits);

  FourVectors faceNormal, normal;
  std::array<glm::vec4, 4> colors;
};

// What is to be shaded where rays met surfaces, in the world: structure of arrays, of which only those entries hold
// anything that were resolved. The two normals are of unit length and on the side that the ray came from.
struct SurfacePoints {
  VectorPerRay position;
  VectorPerRay faceNormal;  // of the flat triangle
  VectorPerRay normal;      // smoothed as the geometry says, bent as the material's normal map says
  VectorPerRay color;       // linear RGB of the surface itself
  VectorPerRay emission;    // what it gives off
  PerRay<Finish> finish;
  PerRay<float> alpha;
  PerRay<std::uint32_t> instance;  // index into RayScene::instances
  PerRay<const ShadingMaterial*> material;

  // Fills the entry `at`. `direction` is the ray's, of any length; `pixelHeight` what one pixel covers at the hit, in
  // metres.
  void resolve(int at, const RayScene& scene, const Hit& hit, glm::vec3 direction, float pixelHeight) {
    resolve(at, MetTriangle(scene, hit.instance, hit.point.triangle), hit, direction, pixelHeight);
  }
  // The same of a triangle that several points are on.
  void resolve(int at, const MetTriangle& on, const Hit& hit, glm::vec3 direction, float pixelHeight);

  // Fills the entries 0, 4, 8 and 12 alike.
  void resolveFour(const MetTriangle& on, const FourHits& hits);

  bool isUnlit(int at) const { return material[at]->definition->unlit; }
  // Just off the surface, on the side of the normals, where a ray starts without meeting it again.
  glm::vec3 leaving(int at) const;

 private:
  void fillIn(int at, const MetTriangle& on, glm::vec4 rgba, glm::vec3 given, const Finish& reflecting);
};

}  // namespace quillmere::render
