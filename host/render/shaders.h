#pragma once

#include <algorithm>
#include <cmath>
#include <glm/glm.hpp>

#include "color_encoding.h"
#include "image/image.h"
#include "layer_loop.h"
#include "light_filter.h"
#include "light_sources.h"
#include "light_transport.h"

namespace quillmere::render {

// As an interactive viewport shows it: each surface in its own colour under a headlight and a hemispheric ambient
// light, unlit ones in their own colour, over a plain grey gradient. Writes to a Byte RGB picture.
class QuickShader {
 public:
  struct Sum {  // light of the display
    glm::vec3 surfaces{0.0F}, backdrop{0.0F};

    Sum& operator+=(const Sum& other) {
      surfaces += other.surfaces;
      backdrop += other.backdrop;
      return *this;
    }
  };

  QuickShader(const scene::Camera& camera, image::Image& picture);
  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const {
    light(layer, [&](int ray) -> Sum& { return sums[layer.block.summedAt(ray)]; });
    return 0;
  }
  // Adds to sumOf(ray), for shaders that draw more beside it, what the layer brings to the ray's pixel.
  template <class SumOf>
  void light(const Layer& layer, const SumOf& sumOf) const {
    forEachRay(layer.points, [&](int at) { sumOf(at).surfaces += layer.weightAt[at] * lightOf(layer, at); });
    forEachRay(layer.missed,
               [&](int ray) { sumOf(ray).backdrop += layer.weight[ray] * background(layer.block.pixelOf(ray).y); });
  }
  void store(const Sum& sum, float samples, int x, int y) const {
    store((sum.surfaces + sum.backdrop) * (1.0F / samples), x, y);
  }
  void store(glm::vec3 light, int x, int y) const;
  glm::vec3 lightOf(const Layer& layer, int at) const;  // of its point
  bool takesFour(const ShadingMaterial& material) const { return !material.glossy && !material.emits; }
  void storeFour(const FourPixels& pixels) const { storeFour(lightOf(pixels), pixels.block); }
  FourVectors lightOf(const FourPixels& pixels) const;
  void storeFour(const FourVectors& light, const PixelBlock& block) const;

 private:
  glm::vec3 lightOn(glm::vec3 normal, float occlusion) const;
  glm::vec3 reflected(const SurfacePoints& points, int at, glm::vec3 viewer) const;
  glm::vec3 background(int row) const;

  image::Image& picture_;
  StoredBytes bytes_;
  glm::vec3 headlight_;  // towards it: over the left shoulder, so that faces at different angles differ
};

// Surfaces under the scene's lights (or a sun and a sky) with soft shadows and light that bounces once; unlit surfaces
// and the backdrop in their own colours. Wants scattered samples.
class FinalShader {
 public:
  // Lit surfaces and those in colours of their own are kept apart, as only the former go through the view transform;
  // the two mix as light of the display, which also keeps bright edges smooth.
  struct Sum {
    // Of some numbers, one a sample.
    struct Moments {
      float first = 0.0F, second = 0.0F;

      void add(float value) {
        first += value;
        second += value * value;
      }
      Moments& operator+=(const Moments& other) {
        first += other.first;
        second += other.second;
        return *this;
      }
      // The variance of their mean; of one number alone as if it might as well be nothing.
      float error(float samples) const {
        const float mean = first / samples, spread = second / samples - mean * mean;
        return samples > 1.0F ? (spread > 0.0F ? spread : 0.0F) / (samples - 1.0F) : mean * mean;
      }
    };

    // Of numbers whose samples are stratified: two halves of them tell their error better than all of them as if each
    // stood alone, but may agree by chance.
    struct Halves {
      float earlier = 0.0F, later = 0.0F, second = 0.0F;

      void add(float value, bool isLater) {
        (isLater ? later : earlier) += value;
        second += value * value;
      }
      Halves& operator+=(const Halves& other) {
        earlier += other.earlier;
        later += other.later;
        second += other.second;
        return *this;
      }
      // The variance of their mean; of one number alone as above.
      float error(float samples) const {
        constexpr float kLeast = 0.1F;                   // of what it would be if each stood alone
        const float count = std::floor(0.5F * samples);  // of the later ones
        if (count < 1.0F) return earlier * earlier;
        const float apart = 0.5F * (earlier / (samples - count) - later / count);
        return std::max(apart * apart, kLeast * Moments{earlier + later, second}.error(samples));
      }
    };

    glm::vec3 chalk{0.0F}, around{0.0F}, albedo{0.0F}, mirror{0.0F}, coat{0.0F}, emission{0.0F}, own{0.0F};
    glm::vec3 normal{0.0F}, position{0.0F};
    float lit = 0.0F, depth = 0.0F;
    // Of the samples that were followed all around.
    glm::vec3 aroundAlbedo{0.0F}, mirrorCoat{0.0F};
    float closeness = 0.0F;
    Moments aroundLight, mirrorLight;
    Halves chalkLight;
    Halves evenLight;  // of what the display would show under even light

    Sum& operator+=(const Sum& other);
  };

  FinalShader(const RayScene& scene, const LightSources& sources, LitPicture& picture);
  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const { return shade(layer, sums, Reach::All); }
  RaySet shade(const Layer& layer, BlockSums<Sum> sums, Reach reach) const;
  void store(const Sum& sum, float samples, int x, int y) const;
  // Adds further samples to a pixel that is stored; `around` of them were followed all around.
  void addTo(const Sum& sum, float samples, float around, int x, int y) const;

 private:
  const RayScene& scene_;
  const LightSources& sources_;
  LightEstimate light_;
  LitPicture& picture_;
};

// What the display shows of a pixel: its light through the view transform over its own colours.
glm::vec3 displayLight(const LitPixel& pixel);

}  // namespace quillmere::render
