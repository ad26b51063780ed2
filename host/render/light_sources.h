#pragma once

#include <glm/glm.hpp>
#include <vector>

#include "ray_scene.h"
#include "scene/scene.h"

namespace quillmere::render {

// One place of one light as a surface sees it.
struct LightSample {
  glm::vec3 direction;  // towards it, unit length
  float distance;       // metres, maybe infinite
  glm::vec3 arriving;   // what a white surface that faces it sends back (irradiance by pi)
};

// What lights a scene: its own lights, or a sun when it has none, and a clear sky over pale ground. Directions are of
// unit length.
class LightSources {
 public:
  explicit LightSources(const RayScene& scene);

  int count() const { return static_cast<int>(lights_.size()); }

  // A place on the light `index`, chosen by `random` in the unit square: lights are small discs, not points, so that
  // shadows have soft edges. Nothing arrives from one out of range or turned away.
  LightSample sample(int index, glm::vec3 at, glm::vec2 random) const;

  // Scene radiance of the sky in a direction.
  glm::vec3 sky(glm::vec3 direction) const;
  // A stand-in for light that has bounced around more often than rays are followed.
  glm::vec3 ambient() const;
  // Light of the display where the camera sees nothing else.
  glm::vec3 backdrop(glm::vec3 direction) const;

 private:
  std::vector<scene::Light> lights_;  // with their colours exposed
  float skyStrength_;                 // times that of a clear day
  float bulbRadius_ = 0.05F;          // of point and spot lights, metres
};

}  // namespace quillmere::render
