#pragma once

#include <glm/glm.hpp>

#include "ray_packet.h"
#include "sampling.h"

namespace quillmere::render {

// How the points of a packet reflect light towards the viewer: the metallic-roughness model (glTF 2.0, appendix B),
// chalk under a coat that mirrors with microfacets after GGX. Directions are of unit length and lead away from the
// points. All sixteen points are worked out at once, in vector code; those that aren't asked about get numbers, too.
class Reflections {
 public:
  // Of the points `which`, on which `directions` of any length lead from the viewer.
  Reflections(const SurfacePoints& points, RaySet which, const VectorPerRay& directions);

  // The colour of the chalk, which what it sends back is to be multiplied with.
  static glm::vec3 chalk(const SurfacePoints& points, int at) {
    return points.color[at] * (1.0F - points.finish[at].metallic);
  }

  // The colour of the coat towards the viewer, about what an even light all around is multiplied with.
  void findCoats(VectorPerRay& coats) const;

  // Whether the coat mirrors so much that directions are chosen for it.
  bool shines(int at) const { return of_.mirrorShare[at] > 0.0F; }

  // What light from a direction becomes, when what arrives is what a white surface that faces it sends back.
  struct Sent {
    PerRay<float> chalk;  // of white chalk, in shares of the light
    VectorPerRay mirror;  // in the colour of the coat
  };
  // `leastRoughness` widens the mirror images of lights that no ray can meet.
  void findSent(const VectorPerRay& towards, float leastRoughness, Sent& sent) const;
  glm::vec3 mirrored(int at, glm::vec3 towards, float leastRoughness) const;  // of one point

  // Directions that light comes from, chosen where much of it goes to the viewer; and how often they are chosen, per
  // steradian.
  void choose(const SamplePoints& places, const SamplePoints& choices, VectorPerRay& towards) const;
  void findDensities(const VectorPerRay& towards, PerRay<float>& densities) const;

 private:
  struct One;
  One one(int at) const;

  struct Look {  // what a packet of points brings
    VectorPerRay normal, direction, color;
    PerRay<float> metallic, roughness;
  };
  void workOut(const Look& look);

  struct Values {
    VectorPerRay normal, viewer, straight;  // straight: reflected where viewer and normal are one
    PerRay<float> alpha, cosine, grazing;   // of the viewer
    PerRay<float> mirrorShare;              // of the choices
  } of_;
};

}  // namespace quillmere::render
