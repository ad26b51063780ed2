#pragma once

#include <embree3/rtcore.h>

#include <glm/glm.hpp>
#include <limits>

#include "scene/scene.h"

// Which surfaces are skies: domes and boxes around a scene, which would keep all light out.
namespace quillmere::render {

struct Bounds {
  glm::vec3 low{std::numeric_limits<float>::max()}, high{std::numeric_limits<float>::lowest()};

  bool empty() const { return low.x > high.x; }
  float size() const { return empty() ? 0.0F : glm::length(high - low); }
  void add(const Bounds& other);
  // But for a little, as a ground may end where a dome does.
  bool encloses(const Bounds& other) const;
};

Bounds boundsInWorld(const RTCBounds& local, const glm::mat4& toWorld);

// Whether a lit surface that encloses the rest of a scene is a sky: it has a camera in it, and it is round, or far too
// large for a room.
bool isLitSky(const scene::Snapshot& snapshot, const scene::Surface& surface, const Bounds& bounds, const Bounds& rest);

}  // namespace quillmere::render
