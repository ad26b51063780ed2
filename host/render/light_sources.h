#pragma once

#include <glm/glm.hpp>
#include <optional>
#include <vector>

#include "panorama.h"
#include "ray_packet.h"
#include "sampling.h"
#include "scene/scene.h"
#include "settings.h"

namespace quillmere::render {

// One place of one light as a surface sees it.
struct LightSample {
  glm::vec3 direction;  // towards it, unit length
  float distance;       // metres, maybe infinite
  glm::vec3 arriving;   // what a white surface that faces it sends back (irradiance by pi)
};

// The same as the points of a packet see it.
struct LightSamples {
  VectorPerRay direction, arriving;
  PerRay<float> distance;
};

// What is seen where the camera meets nothing.
struct Backdrop {
  enum class Holds { Display, Radiance };  // light of the display, or of the scene

  Holds holds;
  glm::vec3 light;
};

// What lights a scene besides itself: its own lights, or a sun when it has none, and a clear sky over pale ground or a
// panorama, as the settings say. Directions are of unit length.
class LightSources {
 public:
  // The scene's own lights are multiplied with `exposure`. The panorama of the settings is borrowed.
  LightSources(const RayScene& scene, const FinalSettings& settings, float exposure);

  int count() const { return static_cast<int>(lights_.size()); }

  // A place on the light `index`, chosen by `random` in the unit square: lights are small discs, not points, so that
  // shadows have soft edges. Nothing arrives from one out of range or turned away.
  LightSample sample(int index, glm::vec3 at, glm::vec2 random) const;

  // The same for the points `which` of a packet; the others get numbers, too.
  void sampleAll(int index, const VectorPerRay& at, RaySet which, const SamplePoints& random,
                 LightSamples& samples) const;

  // The same of its middle.
  LightSample middle(int index, glm::vec3 at) const;

  // Scene radiance of the sky in a direction.
  glm::vec3 sky(glm::vec3 direction) const;
  // A stand-in for light that has bounced around more often than rays are followed.
  glm::vec3 ambient() const;
  Backdrop backdrop(glm::vec3 direction) const;
  // What all light is multiplied with for the exposure asked for.
  float stops() const { return stops_; }

 private:
  std::vector<scene::Light> lights_;  // with their colours exposed
  std::vector<Across> axes_;          // across the direction of each
  std::optional<Panorama> panorama_;
  std::optional<glm::vec3> background_;
  float stops_;
  float skyStrength_ = 0.0F;  // times that of a clear day
  float bulbRadius_ = 0.05F;  // of point and spot lights, metres
};

}  // namespace quillmere::render
