#pragma once

#include <memory>
#include <vector>

#include "appearance.h"
#include "embree_handles.h"
#include "geometry_cache.h"
#include "scene/scene.h"

namespace quillmere::render {

// A surface of the moment as it is traced; its place in PosedScene::instances is the instance ID of its hits.
struct Instance {
  const scene::Surface* surface;
  const Appearance* appearance;
  glm::mat3 normalToWorld;  // not normalised
};

// A scene at one moment with what Embree needs to trace it. Any thread may read between two calls of pose.
class PosedScene {
 public:
  explicit PosedScene(std::shared_ptr<const scene::Scene> scene);
  PosedScene(const PosedScene&) = delete;
  PosedScene& operator=(const PosedScene&) = delete;

  // Rebuilds only what moved or deformed. Surfaces whose place has no inverse (scaled to nothing) or is not finite are
  // left out. Throws Error, after which pose must succeed before anything is traced.
  void pose(double seconds);

  const scene::Snapshot& snapshot() const { return snapshot_; }
  const std::vector<Instance>& instances() const { return instances_; }

  // What a camera sees.
  RTCScene visible() const { return visible_.get(); }
  // What stands in the way of light: all but the unlit surfaces.
  RTCScene solid() const { return solid_ ? solid_.get() : visible_.get(); }

 private:
  void placeInstances();
  void build();

  std::shared_ptr<const scene::Scene> scene_;
  std::vector<Appearance> appearances_;
  DeviceHandle device_;
  GeometryCache shapes_;
  scene::Snapshot snapshot_;
  std::vector<Instance> instances_;  // points into snapshot_ and appearances_
  SceneHandle visible_, solid_;      // solid_ is null when nothing is unlit
};

}  // namespace quillmere::render
