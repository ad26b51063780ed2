#pragma once

#include <embree3/rtcore.h>

#include <memory>
#include <vector>

#include "geometry_cache.h"
#include "material.h"
#include "scene/scene.h"

namespace quillmere::render {

// A surface as it is traced; its place in RayScene::instances is the instance ID of its hits.
struct Instance {
  const scene::Surface* surface;
  const ShadingMaterial* material;
  glm::mat3 normalToWorld;  // not normalised
};

// A snapshot of a scene with what Embree needs to trace it. Any thread may read between two calls of pose.
class RayScene {
 public:
  explicit RayScene(std::shared_ptr<const scene::Scene> scene);
  RayScene(const RayScene&) = delete;
  RayScene& operator=(const RayScene&) = delete;

  // Takes the snapshot at `seconds` and rebuilds only what moved or deformed. Surfaces whose place has no inverse
  // (scaled to nothing) or is not finite are left out. Throws Error, after which pose must succeed before anything is
  // traced.
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
  std::vector<ShadingMaterial> materials_;
  DeviceHandle device_;
  GeometryCache shapes_;
  scene::Snapshot snapshot_;
  std::vector<Instance> instances_;  // points into snapshot_ and materials_
  SceneHandle visible_, solid_;      // solid_ is null when nothing is unlit
};

// What becomes of hits on surfaces that blend with what is behind them.
enum class Blending {
  Layered,  // found like any other unless invisible: the caller goes on behind them
  Dithered  // found as often as they are opaque; each ray's ID is its random number
};

// Whether the rays of a packet run close together.
enum class Coherence { Coherent, Scattered };

// Every trace of a RayScene needs one: it decides by the materials which hits count.
struct TraceContext : RTCIntersectContext {
  TraceContext(const RayScene& traced, Blending how, Coherence coherence);

  const RayScene* scene;
  Blending blending;
};

}  // namespace quillmere::render
