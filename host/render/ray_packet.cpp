#include "ray_packet.h"

#include <algorithm>

namespace quillmere::render {

TraceContext::TraceContext(const PosedScene& traced, Blending how, Bundle bundle) : scene(&traced), blending(how) {
  rtcInitIntersectContext(this);
  flags = bundle == Bundle::Coherent ? RTC_INTERSECT_CONTEXT_FLAG_COHERENT : RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
}

void RayPacket::arm(int ray, glm::vec3 origin, glm::vec3 direction, float nearest, float farthest,
                    std::uint32_t chance) {
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
  rays.id[ray] = chance;
  rays.flags[ray] = 0;
  rays_.hit.geomID[ray] = RTC_INVALID_GEOMETRY_ID;
  rays_.hit.instID[0][ray] = RTC_INVALID_GEOMETRY_ID;
  armed_[static_cast<std::size_t>(ray)] = -1;
}

void RayPacket::rearmBehind(int ray, float distance, float farthest) {
  constexpr float kStep = 1.0F + 4e-6F;  // past the rounding of the hit, short of any sheet behind
  rays_.ray.tnear[ray] = distance * kStep;
  rays_.ray.tfar[ray] = farthest;
  rays_.hit.geomID[ray] = RTC_INVALID_GEOMETRY_ID;
  rays_.hit.instID[0][ray] = RTC_INVALID_GEOMETRY_ID;
}

bool RayPacket::anyArmed() const {
  return std::any_of(armed_.begin(), armed_.end(), [](int armed) { return armed != 0; });
}

void RayPacket::findNearest(RTCScene scene, TraceContext context) {
  rtcIntersect16(armed_.data(), scene, &context, &rays_);
}

Hit RayPacket::hit(int ray) const {
  const RTCHit16& hits = rays_.hit;
  return {hits.instID[0][ray], {hits.primID[ray], hits.u[ray], hits.v[ray]}, rays_.ray.tfar[ray]};
}

void RayPacket::findAny(RTCScene scene, TraceContext context) {
  // Embree 3.13.5 decides from an unset variable on its stack when a coherent packet is done with being blocked, and
  // then may never return.
  context.flags = RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
  rtcOccluded16(armed_.data(), scene, &context, &rays_.ray);
}

}  // namespace quillmere::render
