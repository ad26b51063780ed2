#pragma once

#include <cmath>
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "scene/gltf_document.h"

namespace quillmere::scene {

// What animation moves of a node.
struct Pose {
  glm::vec3 translation{0.0F};
  glm::quat rotation{1.0F, 0.0F, 0.0F, 0.0F};  // unit length
  glm::vec3 scale{1.0F};
  std::vector<float> weights;  // of the morph targets; may be shorter than their list, the rest is 0
};

struct Node {
  std::string name;
  int parent = -1;
  Pose rest;
  std::optional<glm::mat4> matrix;  // stands instead of the pose's translation, rotation and scale
  bool shown = false;               // belongs to the scene that is shown
};

// The nodes of a document, parallel to its list. The hierarchy is a forest: no node has two parents or is above itself.
struct NodeGraph {
  std::vector<Node> nodes;
  std::vector<int> parentsFirst;  // every node once, after its parent
};

// Throws Error (the reason alone).
NodeGraph importNodes(GltfDocument& document);

// Zero scale is taken as a millionth, so that the matrix can be inverted.
glm::mat4 matrixOf(const Pose& pose);

// From each node to the world, parallel to `graph.nodes`; `poses` too.
std::vector<glm::mat4> worldMatrices(const NodeGraph& graph, std::span<const Pose> poses);

// Of each node, whether one of `marked` is the node itself or above it.
std::vector<bool> spreadDown(const NodeGraph& graph, std::vector<bool> marked);

// Below this the square of a length has lost digits in a float, and what is divided by the length isn't of length 1.
inline constexpr float kShortest = 1e-15F;

inline bool isMeasurable(float length) {
  return length > kShortest && std::isfinite(length);
}

// `v` brought to length 1, or `otherwise` where it has no length to speak of.
inline glm::vec3 unitOr(glm::vec3 v, glm::vec3 otherwise) {
  const float length = glm::length(v);
  return isMeasurable(length) ? v / length : otherwise;
}
// `q` brought to length 1, or no rotation where it has no length to speak of.
glm::quat unitQuaternion(glm::quat q);

}  // namespace quillmere::scene
