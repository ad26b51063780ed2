#pragma once

#include <glm/glm.hpp>

#include "scene/scene.h"

namespace quillmere::render {

struct Ray {
  glm::vec3 origin;
  glm::vec3 direction;  // as long as one metre of depth, so that ray distances are depths along the view axis
};

// A viewpoint that looks through a picture of a given size. Angles and distances that make no sense (a vertical angle
// of 180 degrees, a negative near plane) are clamped to ones that do.
class Camera {
 public:
  Camera(const scene::Camera& view, int width, int height);

  // Through a point of the picture in pixels; (0, 0) is the top left corner of the top left pixel.
  Ray through(float x, float y) const;
  float nearest() const { return nearest_; }    // depth of the near plane
  float farthest() const { return farthest_; }  // depth of the far plane, maybe infinite
  // Height in metres of what one pixel covers at a depth.
  float pixelHeight(float depth) const { return orthographic_ ? pixelStep_ : pixelStep_ * depth; }

  glm::vec3 right() const { return right_; }
  glm::vec3 up() const { return up_; }
  glm::vec3 backward() const { return -forward_; }

 private:
  bool orthographic_;
  float halfWidth_, halfHeight_;  // of the picture in pixels
  float pixelStep_;               // from pixel to pixel, in metres, for a perspective at a depth of 1 m
  float nearest_, farthest_;
  glm::vec3 position_, right_, up_, forward_;
};

}  // namespace quillmere::render
