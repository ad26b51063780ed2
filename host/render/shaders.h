#pragma once

#include <glm/glm.hpp>

#include "image/image.h"
#include "layer_loop.h"
#include "light_sources.h"

namespace quillmere::render {

// As an interactive viewport shows it: each surface in its own colour under a headlight and a hemispheric ambient
// light, unlit ones in their own colour, over a plain grey gradient. Writes to a Byte RGB picture.
class QuickShader {
 public:
  using Sum = glm::vec3;  // light of the display

  QuickShader(const scene::Camera& camera, image::Image& picture);
  RaySet shade(const Layer& layer, PerRay<Sum>& sums) const;
  void store(const Sum& sum, float samples, int x, int y) const;

 private:
  glm::vec3 lightOn(glm::vec3 normal, float occlusion) const;
  glm::vec3 reflected(const SurfacePoints& points, int at, glm::vec3 viewer) const;
  glm::vec3 background(int row) const;

  image::Image& picture_;
  glm::vec3 headlight_;  // towards it: over the left shoulder, so that faces at different angles differ
};

// Surfaces under the scene's lights (or a sun and a sky) with soft shadows and light that bounces once, film-like
// tones; unlit surfaces and the backdrop in their own colours. Writes display-referred values of 0-1 to a Float RGB
// picture. Wants scattered samples.
class FinalShader {
 public:
  // Lit surfaces and those in colours of their own are kept apart, as only the former go through the film curve; the
  // two mix as light of the display, which also keeps bright edges smooth.
  struct Sum {
    glm::vec3 radiance{0.0F};
    float lit = 0.0F;  // share of what was seen that radiance stands for
    glm::vec3 own{0.0F};

    Sum& operator+=(const Sum& other);
  };

  FinalShader(const RayScene& scene, const LightSources& sources, image::Image& picture);
  RaySet shade(const Layer& layer, PerRay<Sum>& sums) const;
  void store(const Sum& sum, float samples, int x, int y) const;

 private:
  const RayScene& scene_;
  image::Image& picture_;
  const LightSources& sources_;
};

}  // namespace quillmere::render
