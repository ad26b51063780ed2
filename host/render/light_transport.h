#pragma once

#include <cstdint>
#include <glm/glm.hpp>

#include "light_sources.h"
#include "ray_packet.h"

namespace quillmere::render {

// Estimates by tracing what light reaches surfaces, directly and once bounced. Any thread.
class LightTransport {
 public:
  LightTransport(const RayScene& scene, const LightSources& sources) : scene_(scene), sources_(sources) {}

  // What white surfaces at those `points` would send back: light of the lamps, of the sky, and once bounced. `sample`
  // counts the samples of a pixel, `seeds` tell the pixels apart.
  VectorPerRay at(const SurfacePoints& points, RaySet which, std::uint32_t sample,
                  const PerRay<std::uint32_t>& seeds) const;

 private:
  struct RandomNumbers {
    std::uint32_t sample;
    const PerRay<std::uint32_t>& seeds;
    std::uint32_t purpose;  // those of different purposes are independent

    glm::vec2 point(int ray) const;
    std::uint32_t bits(int ray) const;
  };
  void addLamps(const SurfacePoints& points, RaySet which, int lamps, RandomNumbers random,
                VectorPerRay& received) const;
  void addOneLamp(const SurfacePoints& points, RaySet which, const PerRay<int>& lamps, RandomNumbers random,
                  float weight, VectorPerRay& received) const;
  void addSurroundings(const SurfacePoints& points, RaySet which, RandomNumbers random, VectorPerRay& received) const;

  const RayScene& scene_;
  const LightSources& sources_;
};

}  // namespace quillmere::render
