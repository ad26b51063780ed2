#pragma once

#include <algorithm>
#include <cmath>
#include <glm/glm.hpp>

#include "color_encoding.h"
#include "image/image.h"
#include "layer_loop.h"
#include "light_sources.h"
#include "light_transport.h"
#include "lit_picture.h"

namespace quillmere::render {

// As an interactive viewport shows it: each surface in its own colour under a headlight and a hemispheric ambient
// light, unlit ones in their own colour, over a plain grey gradient. Writes to a Byte RGB picture.
class QuickShader {
 public:
  struct Sum {  // light of the display
    glm::vec3 surfaces{0.0F}, backdrop{0.0F};
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
  using Sum = LitPixel;

  enum class Reach { Camera, Lamps, All };  // how far samples are followed, where a surface has been met before

  FinalShader(const RayScene& scene, const LightSources& sources, LitPicture& picture);
  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const;
  // The same for further samples, which no errors are told by.
  RaySet shadeFurther(const Layer& layer, BlockSums<Sum> sums, Reach reach) const;
  void store(Sum& sum, float samples, int x, int y) const;  // takes the sum's content

 private:
  // The fragments of a layer's lit points.
  struct Fragments {
    LitFragment& of(const Layer& layer, int at) const {
      return sums[layer.block.summedAt(at)].fragments[static_cast<std::size_t>(index[at])];
    }
    BlockSums<Sum> sums;
    RaySet lit = 0, fresh = 0;  // fresh: points of new fragments
    PerRay<int> index;          // in their pixel
  };
  Fragments fragmentsOf(const Layer& layer, BlockSums<Sum> sums) const;
  void addColors(const Layer& layer, BlockSums<Sum> sums) const;
  void addLight(const Layer& layer, const Fragments& fragments, Reach reach) const;

  const RayScene& scene_;
  const LightSources& sources_;
  LightEstimate light_;
  LitPicture& picture_;
};

// What the display shows of a pixel: its light through the view transform over its own colours.
glm::vec3 displayLight(const LitPixel& pixel);

}  // namespace quillmere::render
