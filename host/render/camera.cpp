#include "camera.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quillmere::render {
namespace {

constexpr float kLeastAngle = 1e-4F;
constexpr float kLargestAngle = 3.13F;

float halfExtent(const scene::Camera& view) {
  if (view.orthographic) return view.ymag;
  return std::tan(0.5F * std::clamp(view.yfov, kLeastAngle, kLargestAngle));
}

}  // namespace

Camera::Camera(const scene::Camera& view, int width, int height)
    : orthographic_(view.orthographic),
      halfWidth_(0.5F * static_cast<float>(width)),
      halfHeight_(0.5F * static_cast<float>(height)),
      pixelStep_(halfExtent(view) / halfHeight_),
      nearest_(std::max(0.0F, view.znear)),
      farthest_(view.zfar.value_or(std::numeric_limits<float>::infinity())),
      position_(view.toWorld[3]),
      right_(view.toWorld[0]),
      up_(view.toWorld[1]),
      forward_(-view.toWorld[2]) {}

Ray Camera::through(float x, float y) const {
  const glm::vec3 offset = right_ * ((x - halfWidth_) * pixelStep_) + up_ * ((halfHeight_ - y) * pixelStep_);
  if (orthographic_) return {position_ + offset, forward_};
  return {position_, forward_ + offset};
}

}  // namespace quillmere::render
