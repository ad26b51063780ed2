#include "surface_point.h"

#include <algorithm>
#include <cmath>

namespace quillmere::render {
namespace {

// `direction` with unit length, or `otherwise` where it has none (zero, overflown or not a number).
glm::vec3 unit(glm::vec3 direction, glm::vec3 otherwise) {
  const float square = glm::dot(direction, direction);
  return std::isnormal(square) ? direction / std::sqrt(square) : otherwise;
}

glm::vec3 towards(glm::vec3 normal, glm::vec3 viewer) {
  return glm::dot(normal, viewer) < 0.0F ? -normal : normal;
}

struct Triangle {  // in the world
  glm::vec3 corner, edge1, edge2;
};

Triangle triangleOf(const scene::Surface& surface, glm::uvec3 corners) {
  const std::vector<glm::vec3>& positions = surface.geometry->positions;
  const glm::mat3 turned(surface.toWorld);
  const glm::vec3 corner = positions[corners.x];
  return {glm::vec3(surface.toWorld * glm::vec4(corner, 1.0F)), turned * (positions[corners.y] - corner),
          turned * (positions[corners.z] - corner)};
}

// Binary logarithm of a pixel's width in texels; a pixel that looks along the surface covers more of them, of which
// the geometric mean of both directions is taken.
float textureLevel(const Instance& instance, glm::uvec3 corners, float doubleArea, float pixelHeight, float cosine) {
  const std::vector<glm::vec2>& uvs = instance.surface->geometry->uvs;
  if (!instance.appearance->texture || uvs.empty()) return 0.0F;
  const glm::vec2 size = instance.appearance->texture->size();
  const glm::vec2 a = (uvs[corners.y] - uvs[corners.x]) * size;
  const glm::vec2 b = (uvs[corners.z] - uvs[corners.x]) * size;
  const float texels = std::abs(a.x * b.y - a.y * b.x);
  const float squared = texels * pixelHeight * pixelHeight / (doubleArea * std::max(cosine, 0.05F));
  return squared > 1.0F ? 0.5F * std::log2(squared) : 0.0F;
}

}  // namespace

glm::vec3 SurfacePoint::leaving() const {
  constexpr float kRelative = 1e-5F;  // some hundred roundings of the largest coordinate
  const glm::vec3 size = glm::abs(position);
  return position + faceNormal * (kRelative * std::max({size.x, size.y, size.z, 1e-3F}));
}

SurfacePoint surfacePoint(const PosedScene& scene, const Hit& hit, glm::vec3 direction, float pixelHeight) {
  const Instance& instance = scene.instances()[hit.instance];
  const scene::Geometry& geometry = *instance.surface->geometry;
  const glm::uvec3 corners = cornersOf(geometry, hit.point.triangle);
  const Triangle triangle = triangleOf(*instance.surface, corners);
  const glm::vec3 viewer = unit(-direction, {0.0F, 0.0F, 1.0F});
  const glm::vec3 cross = glm::cross(triangle.edge1, triangle.edge2);

  SurfacePoint point;
  point.position = triangle.corner + hit.point.u * triangle.edge1 + hit.point.v * triangle.edge2;
  point.faceNormal = towards(unit(cross, viewer), viewer);
  point.normal = point.faceNormal;
  if (!geometry.normals.empty()) {
    // A smoothed normal belongs to the side that its triangle shows, also where it already leans over the edge.
    const glm::vec3 smooth = instance.normalToWorld * interpolated(geometry.normals, corners, hit.point);
    point.normal = towards(unit(smooth, point.faceNormal), point.faceNormal);
  }
  const float level =
      textureLevel(instance, corners, glm::length(cross), pixelHeight, glm::dot(point.faceNormal, viewer));
  point.color = colorOf(*instance.appearance, geometry, hit.point, level);
  point.unlit = instance.appearance->material->unlit;
  return point;
}

}  // namespace quillmere::render
