#include "scene/gltf_scene.h"

#include <algorithm>
#include <cmath>
#include <glm/gtc/type_ptr.hpp>
#include <map>
#include <span>
#include <tuple>

namespace quillmere::scene {
namespace {

// Finite and invertible: what a ray can be taken through and back.
bool isUsable(const glm::mat4& matrix) {
  const float* numbers = glm::value_ptr(matrix);
  const bool bounded = std::all_of(numbers, numbers + 16, [](float n) { return std::abs(n) <= kLargestNumber; });
  const float determinant = glm::determinant(glm::mat3(matrix));
  return bounded && std::isnormal(determinant) && std::isnormal(1.0F / determinant);
}

bool anyOf(const std::vector<int>& nodes, const std::vector<bool>& marked) {
  return std::any_of(nodes.begin(), nodes.end(), [&](int node) { return marked[static_cast<std::size_t>(node)]; });
}

struct NodePoses {
  std::vector<Pose> poses;
  std::vector<glm::mat4> world;
};

class GltfScene : public Scene {
 public:
  explicit GltfScene(SceneParts parts) : parts_(std::move(parts)) {
    for (const Node& node : parts_.graph.nodes) rest_.push_back(node.rest);
    for (const CameraNode& camera : parts_.cameras) cameras_.push_back(camera.info);
    for (const Track& track : parts_.playback.tracks) {
      begin_ = std::min(begin_, static_cast<double>(track.times.front()));
      duration_ = std::max(duration_, static_cast<double>(track.times.back()));
    }
    freezeRigidGeometry();
  }

  const std::vector<CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<Material>& materials() const override { return parts_.materials; }
  std::vector<std::string> objects() const override { return parts_.objects; }
  const std::vector<std::string>& warnings() const override { return parts_.warnings; }
  double duration() const override { return duration_; }
  std::vector<Clip> clips() const override { return parts_.playback.clips; }
  Contents contents() const override { return parts_.contents; }

  Snapshot at(double seconds) const override {
    const NodePoses nodes = posesAt(onClock(seconds));
    const auto worldOf = [&](int node) -> const glm::mat4& { return nodes.world[static_cast<std::size_t>(node)]; };
    Snapshot snapshot;
    snapshot.surfaces.reserve(parts_.instances.size());
    for (const Instance& instance : parts_.instances) {
      const auto geometry = instance.rigid ? instance.rigid : deformed(instance, nodes);
      const auto show = [&](const glm::mat4& toWorld) {
        if (isUsable(toWorld))
          snapshot.surfaces.push_back({geometry, toWorld, instance.part->material, instance.object});
      };
      if (instance.skin >= 0) {
        show(glm::mat4(1.0F));
      } else {
        for (const glm::mat4& placement : *instance.placements) show(worldOf(instance.node) * placement);
      }
    }
    for (const LightNode& light : parts_.lights) {
      if (isUsable(worldOf(light.node))) snapshot.lights.push_back(lightInWorld(light.light, worldOf(light.node)));
    }
    for (const CameraNode& camera : parts_.cameras) {
      snapshot.cameras.push_back(camera.camera);
      snapshot.cameras.back().toWorld = cameraToWorld(worldOf(camera.node));
    }
    return snapshot;
  }

 private:
  // The second of the clips that is shown at one of the scene.
  double onClock(double seconds) const {
    const double length = duration_ - begin_;
    if (!parts_.loop || !(length > 0.0) || (seconds >= begin_ && seconds < duration_)) return seconds;
    const double within = std::fmod(seconds - begin_, length);
    return begin_ + (within < 0.0 ? within + length : within);
  }

  NodePoses posesAt(double seconds) const {
    NodePoses nodes{rest_, {}};
    for (const Track& track : parts_.playback.tracks) {
      applyTrack(track, seconds, nodes.poses[static_cast<std::size_t>(track.node)]);
    }
    nodes.world = worldMatrices(parts_.graph, nodes.poses);
    return nodes;
  }

  // The weights that there are targets for.
  static std::span<const float> weightsOf(const Instance& instance, const NodePoses& nodes) {
    const std::vector<float>& weights = nodes.poses[static_cast<std::size_t>(instance.node)].weights;
    return std::span(weights).first(std::min(weights.size(), instance.part->targets.size()));
  }

  // Instances that show the same part in the same shape share one geometry.
  void freezeRigidGeometry() {
    std::vector<bool> morphs(rest_.size());
    for (const Track& track : parts_.playback.tracks) {
      if (track.property == Property::Weights) morphs[static_cast<std::size_t>(track.node)] = true;
    }
    const NodePoses nodes = posesAt(0.0);
    std::map<std::tuple<const MeshPart*, int, std::vector<float>>, std::shared_ptr<const Geometry>> shapes;
    for (Instance& instance : parts_.instances) {
      const bool bends =
          instance.skin >= 0 && anyOf(parts_.skins[static_cast<std::size_t>(instance.skin)].joints, parts_.moved);
      if (bends || (morphs[static_cast<std::size_t>(instance.node)] && !instance.part->targets.empty())) continue;
      const auto weights = weightsOf(instance, nodes);
      auto& shape = shapes[{instance.part.get(), instance.skin, {weights.begin(), weights.end()}}];
      if (!shape) shape = deformed(instance, nodes);
      instance.rigid = shape;
    }
  }

  std::shared_ptr<const Geometry> deformed(const Instance& instance, const NodePoses& nodes) const {
    const MeshPart& part = *instance.part;
    const auto weights = weightsOf(instance, nodes);
    const bool morphs = std::any_of(weights.begin(), weights.end(), [](float weight) { return weight != 0.0F; });
    if (!morphs && instance.skin < 0) return part.geometry;
    Geometry geometry = morphs ? morphed(part, weights) : *part.geometry;
    if (instance.skin >= 0) {
      const auto joints = jointMatrices(parts_.skins[static_cast<std::size_t>(instance.skin)], nodes.world);
      geometry = skinned(part, std::move(geometry), joints);
    }
    return std::make_shared<const Geometry>(std::move(geometry));
  }

  SceneParts parts_;
  std::vector<CameraInfo> cameras_;
  std::vector<Pose> rest_;  // of every node
  // Of the first and the last key frame played; while none is known the one is late and the other early.
  double begin_ = static_cast<double>(kLargestNumber), duration_ = 0.0;
};

}  // namespace

std::shared_ptr<const Scene> makeScene(SceneParts parts) {
  return std::make_shared<const GltfScene>(std::move(parts));
}

}  // namespace quillmere::scene
