#include "sky_search.h"

#include <algorithm>
#include <cmath>

namespace quillmere::render {
namespace {

constexpr float kSlack = 0.03F;          // of the size
constexpr float kTooLarge = 20.0F;       // times the rest of the scene
constexpr std::size_t kLeastRound = 24;  // vertices
constexpr float kRoundness = 0.15F;      // by which distances from the middle may differ
constexpr float kMostOutside = 0.02F;    // of the vertices

bool isRoundAbout(const std::vector<glm::vec3>& positions, glm::vec3 middle, glm::vec3 reach) {
  std::size_t outside = 0;
  for (const glm::vec3& position : positions) {
    const float distance = glm::length((position - middle) / reach);
    if (!(std::abs(distance - 1.0F) <= kRoundness)) ++outside;
  }
  return static_cast<float>(outside) <= kMostOutside * static_cast<float>(positions.size());
}

// A sphere, or the half of one about any side of its bounds.
bool isRound(const std::vector<glm::vec3>& positions) {
  if (positions.size() < kLeastRound) return false;
  Bounds bounds;
  for (const glm::vec3& position : positions) bounds.add({position, position});
  const glm::vec3 middle = 0.5F * (bounds.low + bounds.high), reach = 0.5F * (bounds.high - bounds.low);
  if (!(std::min({reach.x, reach.y, reach.z}) > 0.0F)) return false;
  if (isRoundAbout(positions, middle, reach)) return true;
  for (int axis = 0; axis < 3; ++axis) {
    for (const float side : {-1.0F, 1.0F}) {
      glm::vec3 shifted = middle, doubled = reach;
      shifted[axis] += side * reach[axis];
      doubled[axis] *= 2.0F;
      if (isRoundAbout(positions, shifted, doubled)) return true;
    }
  }
  return false;
}

}  // namespace

void Bounds::add(const Bounds& other) {
  low = glm::min(low, other.low);
  high = glm::max(high, other.high);
}

bool Bounds::encloses(const Bounds& other) const {
  const glm::vec3 slack(kSlack * size());
  return glm::all(glm::lessThanEqual(low - slack, other.low)) && glm::all(glm::lessThanEqual(other.high, high + slack));
}

Bounds boundsInWorld(const RTCBounds& local, const glm::mat4& toWorld) {
  Bounds bounds;
  for (int corner = 0; corner < 8; ++corner) {
    const glm::vec3 place((corner & 1) != 0 ? local.upper_x : local.lower_x,
                          (corner & 2) != 0 ? local.upper_y : local.lower_y,
                          (corner & 4) != 0 ? local.upper_z : local.lower_z);
    const glm::vec3 there(toWorld * glm::vec4(place, 1.0F));
    bounds.add({there, there});
  }
  return bounds;
}

bool isLitSky(const scene::Snapshot& snapshot, const scene::Surface& surface, const Bounds& bounds,
              const Bounds& rest) {
  const bool seenFromInside = std::ranges::any_of(snapshot.cameras, [&](const scene::Camera& camera) {
    const glm::vec3 place(camera.toWorld[3]);
    return bounds.encloses({place, place});
  });
  if (!seenFromInside) return false;
  return bounds.size() > kTooLarge * rest.size() || isRound(surface.geometry->positions);
}

}  // namespace quillmere::render
