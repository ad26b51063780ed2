#include "scene/gpu_instancing.h"

#include <algorithm>

#include "scene/node_graph.h"
#include "scene/scene.h"

namespace quillmere::scene {
namespace {

int accessorOf(const tinygltf::Value& attributes, const char* name) {
  const tinygltf::Value& value = attributes.Get(name);
  return value.IsInt() ? value.GetNumberAsInt() : -1;
}

}  // namespace

void throwTooManyInstances() {
  throw Error("it shows more than two million instances of geometry");
}

std::vector<glm::mat4> importPlacements(const tinygltf::Node& node, AccessorReader& reader) {
  const auto extension = node.extensions.find("EXT_mesh_gpu_instancing");
  if (extension == node.extensions.end()) return {glm::mat4(1.0F)};
  const tinygltf::Value& attributes = extension->second.Get("attributes");
  if (!attributes.IsObject()) throw Error("the instances of node '" + node.name + "' have no attributes");
  const int translation = accessorOf(attributes, "TRANSLATION");
  const int rotation = accessorOf(attributes, "ROTATION");
  const int scale = accessorOf(attributes, "SCALE");
  const auto translations = translation < 0 ? std::vector<glm::vec3>() : reader.vec3s(translation);
  const auto rotations = rotation < 0 ? std::vector<glm::vec4>() : reader.vec4s(rotation);
  const auto scales = scale < 0 ? std::vector<glm::vec3>() : reader.vec3s(scale);

  const std::size_t count = std::max({translations.size(), rotations.size(), scales.size()});
  for (const std::size_t size : {translations.size(), rotations.size(), scales.size()}) {
    if (size != 0 && size != count)
      throw Error("the instances of node '" + node.name + "' have unequal numbers of values");
  }
  if (count > kMostInstances) throwTooManyInstances();
  std::vector<glm::mat4> placements(count);
  for (std::size_t i = 0; i < count; ++i) {
    Pose pose;
    if (!translations.empty()) pose.translation = translations[i];
    if (!scales.empty()) pose.scale = scales[i];
    if (!rotations.empty()) {
      const glm::vec4 q = rotations[i];
      pose.rotation = unitQuaternion({q.w, q.x, q.y, q.z});
    }
    placements[i] = matrixOf(pose);
  }
  return placements;
}

}  // namespace quillmere::scene
