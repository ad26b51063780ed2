#pragma once

#include <cstdint>

#include "light_sources.h"
#include "ray_packet.h"

namespace quillmere::render {

// What is sent to the viewer by points, but for what they emit.
struct SentLight {
  VectorPerRay chalk;   // by white chalk in their place: to be multiplied with Reflection::chalk
  VectorPerRay mirror;  // by the coat that mirrors
};

// The light of those `points`, estimated by tracing: what comes straight from the sources, and once bounced.
// `directions` lead from the viewer to the points, of any length; `sample` counts the samples of a pixel, `seeds` tell
// the pixels apart.
SentLight lightAt(const RayScene& scene, const LightSources& sources, const SurfacePoints& points, RaySet which,
                  const VectorPerRay& directions, std::uint32_t sample, const PerRay<std::uint32_t>& seeds);

}  // namespace quillmere::render
