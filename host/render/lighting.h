#pragma once

#include <glm/glm.hpp>
#include <vector>

#include "posed_scene.h"
#include "scene/scene.h"
#include "sky.h"

namespace quillmere::render {

// One place of one light as a surface sees it.
struct LightSample {
  glm::vec3 direction;  // towards it, unit length
  float distance;       // metres, maybe infinite
  glm::vec3 arriving;   // what a white surface that faces it sends back (irradiance by pi)
};

// What lights a scene: its own lights, or a sun when it has none, and a sky.
class Lighting {
 public:
  explicit Lighting(const PosedScene& scene);

  int count() const { return static_cast<int>(lights_.size()); }
  const Sky& sky() const { return sky_; }

  // A place on the light `index`, chosen by `random` in the unit square: lights are small discs, not points, so that
  // shadows have soft edges. Nothing arrives from one out of range or turned away.
  LightSample sample(int index, glm::vec3 at, glm::vec2 random) const;

 private:
  std::vector<scene::Light> lights_;  // with their colours exposed
  Sky sky_;
  float bulbRadius_ = 0.05F;  // of point and spot lights, metres
};

}  // namespace quillmere::render
