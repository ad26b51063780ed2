#pragma once

#include <cstdint>

#include "emitters.h"
#include "light_sources.h"
#include "lit_picture.h"
#include "ray_packet.h"

namespace quillmere::render {

// What is sent to the viewer by points, but for what they emit.
struct SentLight {
  // By white chalk in their place, to be multiplied with Reflections::chalk: of what comes straight from lamps and
  // emitters, whose shadows have edges, and of what comes from all around, which changes little from place to place.
  VectorPerRay chalk, around;
  VectorPerRay mirror;      // by the coat that mirrors
  PerRay<float> closeness;  // of what is met all around: one by its distance in metres
  VectorPerRay coat;        // the colour of that coat, Reflections::findCoats
};

// Which points of a packet are followed how far.
struct FollowedPoints {
  RaySet lamps;    // to lamps and emitters, for the light of chalk
  RaySet arounds;  // of those: for what comes from all around, and what is mirrored, besides
};

// Estimates the light of points by tracing: what comes straight from lamps and from what the scene emits, and once
// bounced.
class LightEstimate {
 public:
  // Borrows both.
  LightEstimate(const RayScene& scene, const LightSources& sources)
      : scene_(scene), sources_(sources), emitters_(scene) {}

  LampChoice lampChoice() const {
    return !emitters_.empty() ? LampChoice::Places : sources_.count() > 1 ? LampChoice::Lamps : LampChoice::None;
  }

  // `directions` lead from the viewer to the points, of any length. `numbers` are those of the samples in a sequence
  // for the whole picture.
  SentLight at(const SurfacePoints& points, const FollowedPoints& followed, const VectorPerRay& directions,
               const PerRay<std::uint32_t>& numbers, std::uint32_t seed) const;

 private:
  const RayScene& scene_;
  const LightSources& sources_;
  Emitters emitters_;
};

}  // namespace quillmere::render
