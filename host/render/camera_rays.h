#pragma once

#include <algorithm>
#include <cmath>
#include <glm/glm.hpp>
#include <limits>

#include "scene/scene.h"

namespace quillmere::render {

struct Ray {
  glm::vec3 origin;
  glm::vec3 direction;  // as long as one metre of depth, so that ray distances are depths along the view axis
};

// The rays of a camera through a picture of a given size. Angles and distances that make no sense (a vertical angle of
// 180 degrees, a negative near plane) are clamped to ones that do.
class CameraRays {
 public:
  CameraRays(const scene::Camera& camera, int width, int height)
      : orthographic_(camera.orthographic),
        halfWidth_(0.5F * static_cast<float>(width)),
        halfHeight_(0.5F * static_cast<float>(height)),
        pixelStep_(halfExtent(camera) / halfHeight_),
        nearest_(std::max(0.0F, camera.znear)),
        farthest_(camera.zfar.value_or(std::numeric_limits<float>::infinity())),
        position_(camera.toWorld[3]),
        right_(camera.toWorld[0]),
        up_(camera.toWorld[1]),
        forward_(-camera.toWorld[2]),
        shift_(orthographic_ ? 1.0F : 0.0F),
        turn_(1.0F - shift_) {}

  // Through a point of the picture in pixels; (0, 0) is the top left corner of the top left pixel.
  Ray through(glm::vec2 place) const {
    const glm::vec3 offset =
        right_ * ((place.x - halfWidth_) * pixelStep_) + up_ * ((halfHeight_ - place.y) * pixelStep_);
    return {position_ + shift_ * offset, forward_ + turn_ * offset};
  }
  float nearest() const { return nearest_; }    // depth of the near plane
  float farthest() const { return farthest_; }  // depth of the far plane, maybe infinite
  // Height in metres of what one pixel covers at a depth.
  float pixelHeight(float depth) const { return orthographic_ ? pixelStep_ : pixelStep_ * depth; }

 private:
  // Half of the height seen at a depth of 1 m, in metres.
  static float halfExtent(const scene::Camera& camera) {
    constexpr float kLeastAngle = 1e-4F, kLargestAngle = 3.13F;
    if (camera.orthographic) return camera.ymag;
    return std::tan(0.5F * std::clamp(camera.yfov, kLeastAngle, kLargestAngle));
  }

  bool orthographic_;
  float halfWidth_, halfHeight_;  // of the picture in pixels
  float pixelStep_;               // from pixel to pixel, in metres, for a perspective at a depth of 1 m
  float nearest_, farthest_;
  glm::vec3 position_, right_, up_, forward_;
  float shift_, turn_;  // what a place's offset counts for a ray's origin and for its direction
};

}  // namespace quillmere::render
