#pragma once

#include <glm/glm.hpp>

#include "posed_scene.h"
#include "ray_packet.h"

namespace quillmere::render {

// What is to be shaded where a ray met a surface, in the world. The two normals are of unit length and on the side
// that the ray came from.
struct SurfacePoint {
  glm::vec3 position{0.0F};
  glm::vec3 faceNormal{0.0F, 1.0F, 0.0F};  // of the flat triangle
  glm::vec3 normal{0.0F, 1.0F, 0.0F};      // smoothed as the geometry says
  glm::vec4 color{0.0F};                   // linear RGBA of the surface itself
  bool unlit = false;

  // Just off the surface, on the side of the normals, where a ray starts without meeting it again.
  glm::vec3 leaving() const;
};

// `direction` is the ray's, of any length; `pixelHeight` what one pixel covers at the hit, in metres.
SurfacePoint surfacePoint(const PosedScene& scene, const Hit& hit, glm::vec3 direction, float pixelHeight);

}  // namespace quillmere::render
