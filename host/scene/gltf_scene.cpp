#include "scene/gltf_scene.h"

#include <algorithm>
#include <cmath>
#include <glm/gtc/type_ptr.hpp>
#include <map>
#include <tuple>

namespace quillmere::scene {
namespace {

// What a ray can be taken through and back.
bool isUsable(const glm::mat4& matrix) {
  const float* numbers = glm::value_ptr(matrix);
  const bool bounded = std::all_of(numbers, numbers + 16, [](float n) { return std::abs(n) <= kLargestNumber; });
  const float determinant = glm::determinant(glm::mat3(matrix));
  return bounded && std::isnormal(determinant) && std::isnormal(1.0F / determinant);
}

bool anyOf(const std::vector<int>& nodes, const std::vector<bool>& marked) {
  return std::any_of(nodes.begin(), nodes.end(), [&](int node) { return marked[static_cast<std::size_t>(node)]; });
}

}  // namespace

// The nodes at one moment.
struct GltfScene::Posed {
  std::vector<Pose> poses;
  std::vector<glm::mat4> world;
};

GltfScene::GltfScene(SceneParts parts) : parts_(std::move(parts)) {
  for (const Node& node : parts_.graph.nodes) rest_.push_back(node.rest);
  for (const SceneCamera& camera : parts_.cameras) cameras_.push_back(camera.info);
  for (const Track& track : parts_.tracks) duration_ = std::max(duration_, static_cast<double>(track.times.back()));
  freezeRigidGeometry();
}

GltfScene::Posed GltfScene::pose(double seconds) const {
  Posed posed{rest_, {}};
  for (const Track& track : parts_.tracks) {
    applyTrack(track, seconds, posed.poses[static_cast<std::size_t>(track.node)]);
  }
  posed.world = worldMatrices(parts_.graph, posed.poses);
  return posed;
}

// The weights that there are targets for.
std::span<const float> GltfScene::weightsOf(const Instance& instance, const Posed& posed) {
  const std::vector<float>& weights = posed.poses[static_cast<std::size_t>(instance.node)].weights;
  return std::span(weights).first(std::min(weights.size(), instance.part->targets.size()));
}

// Instances that show the same part in the same shape share one geometry.
void GltfScene::freezeRigidGeometry() {
  std::vector<bool> morphs(rest_.size());
  for (const Track& track : parts_.tracks) {
    if (track.property == Property::Weights) morphs[static_cast<std::size_t>(track.node)] = true;
  }
  const Posed posed = pose(0.0);
  std::map<std::tuple<const MeshPart*, int, std::vector<float>>, std::shared_ptr<const Geometry>> shapes;
  for (Instance& instance : parts_.instances) {
    const bool bends =
        instance.skin >= 0 && anyOf(parts_.skins[static_cast<std::size_t>(instance.skin)].joints, parts_.moved);
    if (bends || (morphs[static_cast<std::size_t>(instance.node)] && !instance.part->targets.empty())) continue;
    const auto weights = weightsOf(instance, posed);
    auto& shape = shapes[{instance.part.get(), instance.skin, {weights.begin(), weights.end()}}];
    if (!shape) shape = deformed(instance, posed);
    instance.rigid = shape;
  }
}

std::shared_ptr<const Geometry> GltfScene::deformed(const Instance& instance, const Posed& posed) const {
  const MeshPart& part = *instance.part;
  const auto weights = weightsOf(instance, posed);
  const bool morphs = std::any_of(weights.begin(), weights.end(), [](float weight) { return weight != 0.0F; });
  if (!morphs && instance.skin < 0) return part.geometry;
  Geometry geometry = morphs ? morphed(part, weights) : *part.geometry;
  if (instance.skin >= 0) {
    const auto joints = jointMatrices(parts_.skins[static_cast<std::size_t>(instance.skin)], posed.world);
    geometry = skinned(part, std::move(geometry), joints);
  }
  return std::make_shared<const Geometry>(std::move(geometry));
}

Snapshot GltfScene::at(double seconds) const {
  const Posed posed = pose(seconds);
  const auto worldOf = [&](int node) -> const glm::mat4& { return posed.world[static_cast<std::size_t>(node)]; };
  Snapshot moment;
  moment.surfaces.reserve(parts_.instances.size());
  for (const Instance& instance : parts_.instances) {
    const auto geometry = instance.rigid ? instance.rigid : deformed(instance, posed);
    const auto show = [&](const glm::mat4& toWorld) {
      if (isUsable(toWorld)) moment.surfaces.push_back({geometry, toWorld, instance.part->material});
    };
    if (instance.skin >= 0) {
      show(glm::mat4(1.0F));
    } else {
      for (const glm::mat4& placement : *instance.placements) show(worldOf(instance.node) * placement);
    }
  }
  for (const SceneLight& light : parts_.lights) {
    if (isUsable(worldOf(light.node))) moment.lights.push_back(placedLight(light.light, worldOf(light.node)));
  }
  for (const SceneCamera& camera : parts_.cameras) {
    moment.cameras.push_back(camera.lens);
    moment.cameras.back().toWorld = cameraToWorld(worldOf(camera.node));
  }
  return moment;
}

}  // namespace quillmere::scene
