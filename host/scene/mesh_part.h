#pragma once

#include <glm/glm.hpp>
#include <glm/gtc/type_precision.hpp>
#include <memory>
#include <vector>

#include "scene/scene.h"

namespace quillmere::scene {

// Offsets to a geometry; each array is either empty or as long as the geometry's positions.
struct MorphTarget {
  std::vector<glm::vec3> positions;
  std::vector<glm::vec3> normals;
};

struct Influence {
  glm::u16vec4 joints{0};
  glm::vec4 weights{0.0F};
};

// One primitive of a mesh as the file gives it, shared by all nodes that show the mesh.
struct MeshPart {
  std::shared_ptr<const Geometry> geometry;
  int material = 0;
  std::vector<MorphTarget> targets;
  // `influenceSets` in a row for each vertex; the weights of a vertex sum up to 1. Empty when no skin can move the
  // part.
  std::vector<Influence> influences;
  std::size_t influenceSets = 0;
};

}  // namespace quillmere::scene
