#include "scene/bounds.h"

#include <algorithm>
#include <map>

namespace quillmere::scene {
namespace {

constexpr std::size_t kMostPoses = 32;
constexpr std::size_t kMostVertices = std::size_t{1} << 22U;

using Boxes = std::map<const Geometry*, Bounds>;

const Bounds& boxOf(const Geometry& geometry, Boxes& boxes) {
  const auto [found, isNew] = boxes.try_emplace(&geometry);
  if (isNew) {
    for (const glm::vec3& position : geometry.positions) found->second.add(position);
  }
  return found->second;
}

void addCorners(const Bounds& box, const glm::mat4& toWorld, Bounds& bounds) {
  if (box.empty()) return;
  for (unsigned corner = 0; corner < 8; ++corner) {
    const glm::vec3 point((corner & 1U) != 0 ? box.most.x : box.least.x, (corner & 2U) != 0 ? box.most.y : box.least.y,
                          (corner & 4U) != 0 ? box.most.z : box.least.z);
    bounds.add(glm::vec3(toWorld * glm::vec4(point, 1.0F)));
  }
}

void add(const Snapshot& snapshot, Bounds& bounds) {
  std::size_t vertices = 0;
  for (const Surface& surface : snapshot.surfaces) vertices += surface.geometry->positions.size();
  Boxes boxes;
  for (const Surface& surface : snapshot.surfaces) {
    if (vertices > kMostVertices) {
      addCorners(boxOf(*surface.geometry, boxes), surface.toWorld, bounds);
      continue;
    }
    for (const glm::vec3& position : surface.geometry->positions) {
      bounds.add(glm::vec3(surface.toWorld * glm::vec4(position, 1.0F)));
    }
  }
}

}  // namespace

Bounds boundsOf(const Scene& scene, const std::vector<double>& seconds) {
  Bounds bounds;
  const std::size_t last = seconds.empty() ? 0 : seconds.size() - 1, poses = std::min(seconds.size(), kMostPoses);
  for (std::size_t pose = 0; pose < poses; ++pose) {
    if (pose > 0 && !(scene.duration() > 0.0)) break;  // nothing moves
    add(scene.at(seconds[poses < 2 ? 0 : pose * last / (poses - 1)]), bounds);
  }
  return bounds;
}

}  // namespace quillmere::scene
