#pragma once

#include <glm/glm.hpp>
#include <glm/gtc/type_precision.hpp>
#include <memory>
#include <span>
#include <vector>

#include "scene/accessor_reader.h"
#include "scene/gltf_document.h"
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

struct Skin {
  std::vector<int> joints;             // nodes, each of which exists
  std::vector<glm::mat4> inverseBind;  // parallel to joints
};

// Throws Error (the reason alone).
std::vector<Skin> importSkins(const GltfDocument& document, AccessorReader& reader);

// Throws Error (the reason alone) when the part names a joint that the skin doesn't have.
void checkInfluences(const MeshPart& part, const Skin& skin);

// What `skinned` takes, from the world matrices of the document's nodes.
std::vector<glm::mat4> jointMatrices(const Skin& skin, std::span<const glm::mat4> world);

// The part with its morph targets added; weights that are missing are 0. The result is finite whatever the weights are.
Geometry morphed(const MeshPart& part, std::span<const float> weights);

// `geometry`, which is the part's or morphed from it, moved by its joints: `joints` take each joint's share of a vertex
// from object space to the world, and there must be one for every joint that the influences name.
Geometry skinned(const MeshPart& part, Geometry geometry, std::span<const glm::mat4> joints);

}  // namespace quillmere::scene
