#include "scene/node_graph.h"

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

#include "base/error.h"

namespace quillmere::scene {
namespace {

using Numbers = std::vector<double>;

glm::vec3 vec3Or(const Numbers& numbers, glm::vec3 otherwise) {
  if (numbers.size() != 3) return otherwise;
  return {toFloat(numbers[0]), toFloat(numbers[1]), toFloat(numbers[2])};
}

glm::quat quatOrNone(const Numbers& xyzw) {
  if (xyzw.size() != 4) return {1.0F, 0.0F, 0.0F, 0.0F};
  return unitQuaternion({toFloat(xyzw[3]), toFloat(xyzw[0]), toFloat(xyzw[1]), toFloat(xyzw[2])});
}

glm::mat4 matrixFrom(const Numbers& columns) {
  glm::mat4 matrix;
  for (std::size_t i = 0; i < 16; ++i) glm::value_ptr(matrix)[i] = toFloat(columns[i]);
  return matrix;
}

constexpr std::size_t kMostWeights = std::size_t{1} << 24U;  // of all nodes together

Node importNode(const GltfDocument& document, const tinygltf::Node& from) {
  Node node;
  node.name = excerpt(from.name);
  node.rest.translation = vec3Or(from.translation, glm::vec3(0.0F));
  node.rest.rotation = quatOrNone(from.rotation);
  node.rest.scale = vec3Or(from.scale, glm::vec3(1.0F));
  if (from.matrix.size() == 16) node.matrix = matrixFrom(from.matrix);
  Numbers weights = from.weights;
  if (weights.empty() && from.mesh >= 0) weights = itemAt(document.model.meshes, from.mesh, "mesh").weights;
  for (const double weight : weights) node.rest.weights.push_back(toFloat(weight));
  return node;
}

void linkParents(const tinygltf::Model& model, std::vector<Node>& nodes) {
  for (std::size_t parent = 0; parent < nodes.size(); ++parent) {
    for (const int child : model.nodes[parent].children) {
      itemAt(nodes, child, "node");
      int& link = nodes[static_cast<std::size_t>(child)].parent;
      if (link >= 0) throw Error("node " + std::to_string(child) + " has more than one parent");
      link = static_cast<int>(parent);
    }
  }
}

// With one parent each, what can't be reached from a root hangs in a cycle. The list grows while it is walked, since a
// hierarchy may be deeper than the stack.
std::vector<int> orderParentsFirst(const tinygltf::Model& model, const std::vector<Node>& nodes) {
  std::vector<int> order;
  order.reserve(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].parent < 0) order.push_back(static_cast<int>(i));
  }
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto& children = model.nodes[static_cast<std::size_t>(order[i])].children;
    order.insert(order.end(), children.begin(), children.end());
  }
  if (order.size() != nodes.size()) throw Error("its nodes form a cycle: some node is above itself");
  return order;
}

// The default scene, else the first one; null when the document has none.
const tinygltf::Scene* sceneToShow(GltfDocument& document) {
  const auto& model = document.model;
  if (model.defaultScene >= 0) return &itemAt(model.scenes, model.defaultScene, "scene");
  if (model.scenes.empty()) {
    document.warnings.add("the file has no scene; all of its nodes are shown");
    return nullptr;
  }
  if (model.scenes.size() > 1) document.warnings.add("the file names no default scene; the first one is shown");
  return &model.scenes.front();
}

void markShown(GltfDocument& document, NodeGraph& graph) {
  const tinygltf::Scene* scene = sceneToShow(document);
  std::vector<bool> shown(graph.nodes.size(), scene == nullptr);
  if (scene != nullptr) {
    for (const int root : scene->nodes) {
      itemAt(graph.nodes, root, "node");
      shown[static_cast<std::size_t>(root)] = true;
    }
  }
  shown = spreadDown(graph, std::move(shown));
  for (std::size_t i = 0; i < shown.size(); ++i) graph.nodes[i].shown = shown[i];
}

}  // namespace

glm::quat unitQuaternion(glm::quat q) {
  const float length = glm::length(q);
  return isMeasurable(length) ? q / length : glm::quat(1.0F, 0.0F, 0.0F, 0.0F);
}

NodeGraph importNodes(GltfDocument& document) {
  NodeGraph graph;
  std::size_t weights = 0;
  for (const auto& node : document.model.nodes) {
    graph.nodes.push_back(importNode(document, node));
    weights += graph.nodes.back().rest.weights.size();
    if (weights > kMostWeights) throw Error("its nodes have more than 16 million weights of morph targets");
  }
  linkParents(document.model, graph.nodes);
  graph.parentsFirst = orderParentsFirst(document.model, graph.nodes);
  markShown(document, graph);
  return graph;
}

glm::mat4 matrixOf(const Pose& pose) {
  glm::mat4 matrix = glm::mat4_cast(pose.rotation);
  for (int axis = 0; axis < 3; ++axis) {
    const float scale = pose.scale[axis];
    matrix[axis] *= std::abs(scale) < 1e-6F ? std::copysign(1e-6F, scale) : scale;
  }
  matrix[3] = glm::vec4(pose.translation, 1.0F);
  return matrix;
}

std::vector<glm::mat4> worldMatrices(const NodeGraph& graph, std::span<const Pose> poses) {
  std::vector<glm::mat4> world(graph.nodes.size());
  for (const int index : graph.parentsFirst) {
    const auto i = static_cast<std::size_t>(index);
    const Node& node = graph.nodes[i];
    const glm::mat4 local = node.matrix ? *node.matrix : matrixOf(poses[i]);
    world[i] = node.parent < 0 ? local : world[static_cast<std::size_t>(node.parent)] * local;
  }
  return world;
}

std::vector<bool> spreadDown(const NodeGraph& graph, std::vector<bool> marked) {
  for (const int index : graph.parentsFirst) {
    const int parent = graph.nodes[static_cast<std::size_t>(index)].parent;
    if (parent >= 0 && marked[static_cast<std::size_t>(parent)]) marked[static_cast<std::size_t>(index)] = true;
  }
  return marked;
}

}  // namespace quillmere::scene
