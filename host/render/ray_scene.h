#pragma once

#include <embree3/rtcore.h>

#include <array>
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
  float mirroring;          // -1 where its place mirrors it, else 1
  bool sky = false;         // encloses the scene: it lets light through and gives its own colour as light
};

// What rays are traced for.
enum class RayUse {
  Camera,  // run close together, see everything; a surface that blends is met unless invisible: the caller goes on
           // behind
  // These run anywhere and pass through unlit surfaces and skies; one that blends is met as often as it is opaque: the
  // ray's ID is its random number.
  Bounce,
  Sky,    // meets skies alone
  Shadow  // towards a light, so against the light's way: a single-sided surface lets through what comes from behind
};

constexpr unsigned int kPacketRays = 16;

// A snapshot of a scene with what Embree needs to trace it. Any thread may read between two calls of pose.
class RayScene {
 public:
  explicit RayScene(std::shared_ptr<const scene::Scene> scene, SingleSided singleSided = SingleSided::All);
  RayScene(const RayScene&) = delete;
  RayScene& operator=(const RayScene&) = delete;

  // Takes the snapshot at `seconds` and rebuilds only what moved or deformed. Surfaces whose place has no inverse
  // (scaled to nothing) or is not finite are left out. Throws Error, after which pose must succeed before anything is
  // traced.
  void pose(double seconds);

  const scene::Snapshot& snapshot() const { return snapshot_; }
  const std::vector<Instance>& instances() const { return instances_; }

  // Each ray's nearest hit. `valid` is -1 for the rays of the packet that are meant and 0 for the others.
  void intersect(const int* valid, RTCRayHit16& rays, RayUse use) const;
  // Sets the end of light rays that anything stops to minus infinity.
  void occlude(const int* valid, RTCRay16& rays) const;
  bool hasSkies() const { return skies_ != nullptr; }
  // Half the diagonal of what stands in the way of light, metres.
  float solidRadius() const;

 private:
  void placeInstances();
  void findSkies();
  RTCScene sceneFor(RayUse use) const;
  void build();
  bool isBack(const RTCRayHit16& rays, unsigned int ray) const;
  using RayEnds = std::array<float, kPacketRays>;  // before they were traced
  void findFronts(const int* valid, const RayEnds& ends, RTCRayHit16& rays, RayUse use) const;
  RTCScene solid() const { return solid_ ? solid_.get() : visible_.get(); }

  std::shared_ptr<const scene::Scene> scene_;
  std::vector<ShadingMaterial> materials_;
  DeviceHandle device_;
  GeometryCache shapes_;
  scene::Snapshot snapshot_;
  std::vector<Instance> instances_;  // points into snapshot_ and materials_
  bool hasFronts_ = false;           // whether any of them is there from its front only
  // All surfaces; all but skies and the unlit ones, null when there are none of those; skies, null without any.
  SceneHandle visible_, solid_, skies_;
};

}  // namespace quillmere::render
