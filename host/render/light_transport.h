#pragma once

#include <cstdint>

#include "light_sources.h"
#include "ray_packet.h"

namespace quillmere::render {

// What white surfaces at those `points` would send back, estimated by tracing: light that comes straight from the
// sources, and once bounced. `sample` counts the samples of a pixel, `seeds` tell the pixels apart.
VectorPerRay lightAt(const RayScene& scene, const LightSources& sources, const SurfacePoints& points, RaySet which,
                     std::uint32_t sample, const PerRay<std::uint32_t>& seeds);

}  // namespace quillmere::render
