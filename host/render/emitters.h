#pragma once

#include <cstdint>
#include <glm/glm.hpp>
#include <vector>

#include "ray_packet.h"
#include "ray_scene.h"

namespace quillmere::render {

// A place on something that emits, as a point sees it.
struct EmitterSample {
  glm::vec3 direction;  // towards it, unit length
  float distance;       // metres
  glm::vec3 emission;
  float density;  // how often it is chosen, per steradian; 0 for what shines elsewhere
};

// The triangles of a scene that emit, to be chosen by chance: the larger and the brighter the more often.
class Emitters {
 public:
  // Of the snapshot that `scene` has. The scene is borrowed.
  explicit Emitters(const RayScene& scene);

  bool empty() const { return chances_.empty(); }
  EmitterSample sample(glm::vec3 at, float which, glm::vec2 random) const;
  // How often sample() would choose the place of `points` that was met `distance` metres away in a direction.
  float density(const SurfacePoints& points, int at, glm::vec3 direction, float distance) const;

 private:
  struct Chance {
    float sum;  // of the strengths up to and with this one
    std::uint32_t instance, triangle;
  };
  void addTriangles(std::uint32_t instance, float brightness);

  const RayScene& scene_;
  std::vector<Chance> chances_;
  std::vector<float> brightness_;  // of each instance; 0 for those that aren't chosen
};

}  // namespace quillmere::render
