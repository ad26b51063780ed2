#pragma once

#include <glm/glm.hpp>
#include <vector>

#include "image/image.h"

namespace quillmere::render {

// A picture of everything around a scene, as light that comes from far away: longitude across, latitude down, the
// middle of the picture towards -Z. Directions are of unit length.
class Panorama {
 public:
  // `picture` is Float with three channels or four, linear; what it holds is multiplied with `strength`. Borrowed.
  // Values that are no light (negative, not finite) are dark.
  Panorama(const image::Image& picture, float strength);

  glm::vec3 radiance(glm::vec3 direction) const;
  glm::vec3 mean() const { return mean_; }  // over the sphere

 private:
  glm::vec3 texel(int x, int y) const;

  const image::Image& picture_;
  float strength_;
  glm::vec3 mean_;
};

}  // namespace quillmere::render
