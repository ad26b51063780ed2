#pragma once

#include <glm/glm.hpp>
#include <memory>
#include <vector>

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
  LaidTexture texture, emissionMap;
  bool emits;  // in places
  // Whether a hit can't be taken as it is found: parts of it are invisible, or it is seen from its front only.
  // Single-sided materials are shown from both sides, as viewports do, unless they are unlit: those are sky domes to be
  // looked at from inside and inverted hulls that draw an outline, which would hide what they enclose.
  bool filtered;
  bool frontOnly;
};

// One for each material, in order; pictures that several materials use are prepared once. The materials must outlive
// it.
std::vector<ShadingMaterial> shadingMaterials(const std::vector<scene::Material>& materials);

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

  SurfacePlace(const scene::Geometry& on, const TrianglePoint& at)
      : geometry(on), point(at), corners(cornersOf(on, at.triangle)) {}
};

// What a picture holds there, averaged over the pixel.
glm::vec4 read(const LaidTexture& texture, const SurfacePlace& place);

// Linear RGBA of a surface: base colour times texture times vertex colour; opaque materials have an alpha of 1, and so
// has what a mask lets through.
glm::vec4 colorOf(const ShadingMaterial& material, const SurfacePlace& place);

// What it gives off, in white surfaces under the light that is exposed for.
glm::vec3 emissionOf(const ShadingMaterial& material, const SurfacePlace& place);

// The alpha alone, before a mask is applied, from the picture at full size.
float alphaOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point);

}  // namespace quillmere::render
