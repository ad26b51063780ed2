#include "scene/object_names.h"

#include <map>

#include "scene/unique_names.h"

namespace quillmere::scene {
namespace {

constexpr int kMostAbove = 8;  // nodes of a path; of longer ones the nearest

std::string ownName(const GltfDocument& document, int node) {
  const tinygltf::Node& from = document.model.nodes[static_cast<std::size_t>(node)];
  if (!from.name.empty()) return excerpt(from.name);
  const std::string mesh = excerpt(itemAt(document.model.meshes, from.mesh, "mesh").name);
  return mesh.empty() ? std::string(kUnnamed) : mesh;
}

std::string withPath(const std::string& name, const NodeGraph& graph, int node) {
  std::string path = name;
  int above = graph.nodes[static_cast<std::size_t>(node)].parent;
  for (int step = 0; above >= 0 && step < kMostAbove; ++step) {
    const Node& parent = graph.nodes[static_cast<std::size_t>(above)];
    if (!parent.name.empty()) path = excerpt(parent.name).append("/").append(path);
    above = parent.parent;
  }
  return path;
}

}  // namespace

std::vector<std::string> nameObjects(const GltfDocument& document, const NodeGraph& graph,
                                     std::vector<Instance>& instances) {
  std::map<int, std::string> named;  // by node
  std::map<std::string, int> uses;
  for (const Instance& instance : instances) {
    const auto [entry, isNew] = named.try_emplace(instance.node);
    if (isNew) ++uses[entry->second = ownName(document, instance.node)];
  }
  std::map<int, int> objects;
  std::vector<std::string> names;
  UniqueNames unique;
  for (Instance& instance : instances) {
    const auto [entry, isNew] = objects.try_emplace(instance.node, static_cast<int>(names.size()));
    instance.object = entry->second;
    if (!isNew) continue;
    const std::string& own = named.at(instance.node);
    names.push_back(unique.make(uses.at(own) > 1 ? withPath(own, graph, instance.node) : own));
  }
  if (names.empty()) names.emplace_back(kUnnamed);
  return names;
}

}  // namespace quillmere::scene
