#pragma once

#include <array>
#include <glm/glm.hpp>
#include <memory>
#include <optional>
#include <vector>

#include "four.h"
#include "scene/scene.h"
#include "texture.h"

namespace quillmere::render {

// A picture of a material made ready for reading; nothing without one.
struct LaidTexture {
  std::shared_ptr<const Texture> texture;
  const scene::TextureMap* map = nullptr;

  explicit operator bool() const { return texture != nullptr; }
};

// A material made ready for shading.
struct ShadingMaterial {
  const scene::Material* definition;
  LaidTexture texture, emissionMap, metalRoughnessMap, normalMap, occlusionMap;
  bool textured;   // shows any of these pictures
  bool plain;      // stops light wherever it is hit, and has no picture but that of its colour
  bool emits;      // in places
  bool glossy;     // reflects in other ways than chalk does
  bool filtered;   // whether parts of it may be invisible, so that no hit can be taken as it is found
  bool frontOnly;  // whether it isn't there for sight and light that come from behind
};

// Which of the materials that glTF calls single-sided are. `Unlit`: those alone, as sky domes to be looked at from
// inside and inverted hulls that draw an outline would else hide what they enclose.
enum class SingleSided { All, Unlit };

// One for each material, in order; pictures that several materials use are prepared once. The materials must outlive
// it.
std::vector<ShadingMaterial> shadingMaterials(const std::vector<scene::Material>& materials, SingleSided singleSided);

// Where a triangle was hit: its index and the weights u and v of its second and third corner.
struct TrianglePoint {
  std::uint32_t triangle;
  float u, v;
};

glm::uvec3 cornersOf(const scene::Geometry& geometry, std::uint32_t triangle);

// One value per corner weighted for the point.
template <class Value>
Value interpolated(const std::vector<Value>& values, glm::uvec3 corners, const TrianglePoint& point) {
  return values[corners.x] * (1.0F - point.u - point.v) + values[corners.y] * point.u + values[corners.z] * point.v;
}

// A place on a triangle of a geometry, and how much of it one pixel covers.
struct SurfacePlace {
  const scene::Geometry& geometry;
  TrianglePoint point;
  glm::uvec3 corners;  // of the triangle
  float share = 0.0F;  // of the triangle's area that the pixel covers; 0 for a pixel as small as can be

  SurfacePlace(const scene::Geometry& on, const TrianglePoint& at) : SurfacePlace(on, at, cornersOf(on, at.triangle)) {}
  SurfacePlace(const scene::Geometry& on, const TrianglePoint& at, glm::uvec3 cornersThere)
      : geometry(on), point(at), corners(cornersThere) {}
};

// What a picture holds there, averaged over the pixel.
glm::vec4 read(const LaidTexture& texture, const SurfacePlace& place);

// The coordinates that a picture is laid by at the triangle's corners; none where the geometry lacks them.
struct CornerUvs {
  glm::vec2 first, second, third;
};
std::optional<CornerUvs> uvsAt(const LaidTexture& texture, const SurfacePlace& place);

// Linear RGBA of a surface: base colour times texture times vertex colour; opaque materials have an alpha of 1, and so
// has what a mask lets through.
glm::vec4 colorOf(const ShadingMaterial& material, const SurfacePlace& place);

// The same of four places on a triangle of a material that is plain. `shares` as in SurfacePlace.
struct FourPlaces {
  const scene::Geometry& geometry;
  glm::uvec3 corners;
  Four u, v, shares;
};
std::array<glm::vec4, 4> colorsOf(const ShadingMaterial& material, const FourPlaces& places);

// How it reflects: shares from 0 to 1.
struct Finish {
  float metallic, roughness;
  float occlusion;  // of light from all around, what arrives
};
Finish finishOf(const ShadingMaterial& material, const SurfacePlace& place);

// What it gives off, in white surfaces under the light that is exposed for.
glm::vec3 emissionOf(const ShadingMaterial& material, const SurfacePlace& place);

// The alpha alone, before a mask is applied, from the picture at full size.
float alphaOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point);

}  // namespace quillmere::render
