#pragma once

#include <cstdint>
#include <glm/glm.hpp>

#include "lighting.h"
#include "posed_scene.h"
#include "ray_packet.h"
#include "surface_point.h"

namespace quillmere::render {

using Points = RayPacket::PerRay<SurfacePoint>;
using Light16 = RayPacket::PerRay<glm::vec3>;
using RaySet = std::uint32_t;  // one bit per ray of a packet

// Finds out by tracing what light reaches surfaces. Any thread.
class Illumination {
 public:
  Illumination(const PosedScene& scene, const Lighting& lighting) : scene_(scene), lighting_(lighting) {}

  // What white surfaces at those `points` whose bit is set would send back: light of the lamps, of the sky, and once
  // bounced. `sample` counts the samples of a pixel, `seeds` tell the pixels apart.
  Light16 at(const Points& points, RaySet which, std::uint32_t sample,
             const RayPacket::PerRay<std::uint32_t>& seeds) const;

 private:
  struct Draw {  // of random numbers
    std::uint32_t sample;
    const RayPacket::PerRay<std::uint32_t>& seeds;
    std::uint32_t purpose;  // draws of different purposes are independent

    glm::vec2 point(int ray) const;
    std::uint32_t chance(int ray) const;
  };
  void addLamps(const Points& points, RaySet which, int lamps, Draw draw, Light16& received) const;
  void addOneLamp(const Points& points, RaySet which, const RayPacket::PerRay<int>& lamps, Draw draw, float weight,
                  Light16& received) const;
  void addSurroundings(const Points& points, RaySet which, Draw draw, Light16& received) const;

  const PosedScene& scene_;
  const Lighting& lighting_;
};

}  // namespace quillmere::render
