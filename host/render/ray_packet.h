#pragma once

#include <embree3/rtcore.h>

#include <array>
#include <cstdint>
#include <glm/glm.hpp>

#include "appearance.h"
#include "posed_scene.h"

namespace quillmere::render {

// What becomes of hits on surfaces that blend with what is behind them.
enum class Blending {
  Layered,  // found like any other unless invisible: the caller goes on behind them
  Dithered  // found as often as they are opaque, by chance
};

// What the material filter sees of the rays that it decides about. Rays of a kind run close together or they don't.
enum class Bundle { Coherent, Scattered };
struct TraceContext : RTCIntersectContext {
  TraceContext(const PosedScene& traced, Blending how, Bundle bundle);

  const PosedScene* scene;
  Blending blending;
};

struct Hit {
  std::uint32_t instance;
  TrianglePoint point;
  float distance;  // in lengths of the ray's direction
};

// Sixteen rays that are traced together.
class RayPacket {
 public:
  static constexpr int kRays = 16;
  template <class Value>
  using PerRay = std::array<Value, kRays>;

  RayPacket() : rays_{} { restAll(); }

  // Arms one ray from `nearest` to `farthest`, in lengths of its direction. `chance` decides dithered hits.
  void arm(int ray, glm::vec3 origin, glm::vec3 direction, float nearest, float farthest, std::uint32_t chance);
  // Arms a ray again behind its hit at `distance`.
  void rearmBehind(int ray, float distance, float farthest);
  void rest(int ray) { armed_[static_cast<std::size_t>(ray)] = 0; }
  void restAll() { armed_.fill(0); }
  bool isArmed(int ray) const { return armed_[static_cast<std::size_t>(ray)] != 0; }
  bool anyArmed() const;

  // Each armed ray's nearest hit, read with hit() and found().
  void findNearest(RTCScene scene, TraceContext context);
  bool found(int ray) const { return rays_.hit.geomID[ray] != RTC_INVALID_GEOMETRY_ID; }
  Hit hit(int ray) const;

  // Whether anything stops each armed ray, read with isBlocked().
  void findAny(RTCScene scene, TraceContext context);
  bool isBlocked(int ray) const { return rays_.ray.tfar[ray] < 0.0F; }

  glm::vec3 direction(int ray) const { return {rays_.ray.dir_x[ray], rays_.ray.dir_y[ray], rays_.ray.dir_z[ray]}; }

 private:
  alignas(64) PerRay<int> armed_;  // -1 or 0, as Embree wants it
  RTCRayHit16 rays_;
};

}  // namespace quillmere::render
