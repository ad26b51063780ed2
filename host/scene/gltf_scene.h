#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "scene/animation.h"
#include "scene/camera_import.h"
#include "scene/deformation.h"
#include "scene/light_import.h"
#include "scene/node_graph.h"
#include "scene/scene.h"

namespace quillmere::scene {

// One mesh part that a node shows, once or several times.
struct Instance {
  int node = 0;
  int skin = -1;  // its joints place the part instead of the node
  std::shared_ptr<const MeshPart> part;
  std::shared_ptr<const std::vector<glm::mat4>> placements;  // within the node; without meaning when it has a skin
  std::shared_ptr<const Geometry> rigid;  // the geometry of all moments; null when it deforms from one to the next
};

// Everything that a scene is posed from; free of the document that it came from.
struct SceneParts {
  NodeGraph graph;
  std::vector<Track> tracks;
  std::vector<bool> moved;  // of each node, whether animation moves it or one above it
  std::vector<Skin> skins;
  std::vector<Instance> instances;
  std::vector<SceneCamera> cameras;
  std::vector<SceneLight> lights;
  std::vector<Material> materials;
  std::vector<std::string> warnings;
};

class GltfScene : public Scene {
 public:
  explicit GltfScene(SceneParts parts);

  const std::vector<CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<Material>& materials() const override { return parts_.materials; }
  const std::vector<std::string>& warnings() const override { return parts_.warnings; }
  double duration() const override { return duration_; }
  Snapshot at(double seconds) const override;

 private:
  struct Posed;
  Posed pose(double seconds) const;
  static std::span<const float> weightsOf(const Instance& instance, const Posed& posed);
  std::shared_ptr<const Geometry> deformed(const Instance& instance, const Posed& posed) const;
  void freezeRigidGeometry();

  SceneParts parts_;
  std::vector<CameraInfo> cameras_;
  std::vector<Pose> rest_;  // of every node
  double duration_ = 0.0;
};

}  // namespace quillmere::scene
