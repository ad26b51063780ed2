#pragma once

#include <limits>
#include <vector>

#include "scene/scene.h"

namespace quillmere::scene {

// An axis-aligned box in the world; empty until something is added.
struct Bounds {
  glm::vec3 least{std::numeric_limits<float>::max()}, most{std::numeric_limits<float>::lowest()};

  bool empty() const { return least.x > most.x; }
  void add(glm::vec3 point) {
    least = glm::min(least, point);
    most = glm::max(most, point);
  }
};

// Of all surfaces at these seconds, of many at most 32 evenly spread ones. Exact for scenes of up to four million
// vertices; beyond, each surface counts with the box around its geometry.
Bounds boundsOf(const Scene& scene, const std::vector<double>& seconds);

}  // namespace quillmere::scene
