#pragma once

#include <glm/glm.hpp>

#include "ray_packet.h"

namespace quillmere::render {

// How a point reflects light towards the viewer: the metallic-roughness model (glTF 2.0, appendix B), chalk under a
// coat that mirrors with microfacets after GGX. Directions are of unit length and lead away from the point.
class Reflection {
 public:
  // Filling what no ray needs would cost every packet.
  // cppcheck-suppress uninitMemberVar
  Reflection() {}
  Reflection(const SurfacePoints& points, int at, glm::vec3 viewer);

  // The colour of the chalk, which what it sends back is to be multiplied with.
  static glm::vec3 chalk(const SurfacePoints& points, int at) {
    return points.color[at] * (1.0F - points.finish[at].metallic);
  }

  // The colour of the coat towards the viewer, about what an even light all around is multiplied with.
  glm::vec3 coat() const { return straight_ + (1.0F - straight_) * (grazing_ * (1.0F - alpha_)); }

  // Whether the coat mirrors so much that directions are chosen for it.
  bool shines() const { return mirrorShare_ > 0.0F; }

  // What light from a direction becomes, when `arriving` is what a white surface that faces it sends back.
  struct Sent {
    float chalk;       // of white chalk, in shares of the light
    glm::vec3 mirror;  // in the colour of the coat
  };
  // `leastRoughness` widens the mirror images of lights that no ray can meet.
  Sent sent(glm::vec3 towards, float leastRoughness) const;

  // A direction that light comes from, chosen where much of it goes to the viewer; and how often it is chosen, per
  // steradian.
  glm::vec3 chosen(glm::vec2 random, float which) const;
  float density(glm::vec3 towards) const;

 private:
  glm::vec3 facet(glm::vec2 random) const;

  glm::vec3 normal_, viewer_, straight_;  // straight_: reflected where viewer and normal are one
  float alpha_, cosine_, grazing_;        // of the viewer
  float mirrorShare_;                     // of the choices
};

}  // namespace quillmere::render
