#pragma once

#include <glm/glm.hpp>
#include <memory>
#include <vector>

#include "scene/scene.h"
#include "texture.h"

namespace quillmere::render {

// A material made ready for shading.
struct ShadingMaterial {
  const scene::Material* definition;
  std::shared_ptr<const Texture> texture;  // null without one
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

// Linear RGBA of a surface: base colour times texture times vertex colour; opaque materials have an alpha of 1, and so
// has what a mask lets through. `level` as in Texture::read.
glm::vec4 colorOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point,
                  float level);

// The alpha alone, before a mask is applied, from the picture at full size.
float alphaOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point);

}  // namespace quillmere::render
