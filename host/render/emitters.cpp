#include "emitters.h"

#include <algorithm>
#include <cmath>

namespace quillmere::render {
namespace {

constexpr std::size_t kMostTriangles = std::size_t{1} << 20U;  // those of more are met by chance only

// On average over its pictures.
float brightnessOf(const ShadingMaterial& material) {
  if (!material.emits) return 0.0F;
  glm::vec3 color = material.definition->emission;
  constexpr float kAll = 64.0F;  // a level at which any picture is one texel
  if (material.emissionMap) {
    color *= glm::vec3(material.emissionMap.texture->read(glm::vec2(0.5F), kAll, *material.emissionMap.map));
  }
  const float brightness = glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
  return std::isnormal(brightness) ? brightness : 0.0F;
}

}  // namespace

Emitters::Emitters(const RayScene& scene) : scene_(scene), brightness_(scene.instances().size()) {
  std::size_t triangles = 0;
  for (std::uint32_t i = 0; i < brightness_.size(); ++i) {
    const Instance& instance = scene.instances()[i];
    const float brightness = instance.sky ? 0.0F : brightnessOf(*instance.material);
    if (brightness <= 0.0F) continue;
    triangles += instance.surface->geometry->indices.size() / 3;
    if (triangles > kMostTriangles) break;
    addTriangles(i, brightness);
  }
}

void Emitters::addTriangles(std::uint32_t instance, float brightness) {
  const scene::Surface& surface = *scene_.instances()[instance].surface;
  brightness_[instance] = brightness;
  const auto count = static_cast<std::uint32_t>(surface.geometry->indices.size() / 3);
  for (std::uint32_t i = 0; i < count; ++i) {
    const Triangle triangle = triangleOf(surface, cornersOf(*surface.geometry, i));
    const float strength = 0.5F * glm::length(glm::cross(triangle.edge1, triangle.edge2)) * brightness;
    if (std::isnormal(strength)) chances_.push_back({(empty() ? 0.0F : chances_.back().sum) + strength, instance, i});
  }
}

EmitterSample Emitters::sample(glm::vec3 at, float which, glm::vec2 random) const {
  const auto found = std::lower_bound(chances_.begin(), chances_.end() - 1, which * chances_.back().sum,
                                      [](const Chance& chance, float sum) { return chance.sum < sum; });
  const Instance& instance = scene_.instances()[found->instance];
  const float root = std::sqrt(random.x);
  const TrianglePoint point{found->triangle, root * (1.0F - random.y), root * random.y};
  const SurfacePlace place(*instance.surface->geometry, point);
  const Triangle triangle = triangleOf(*instance.surface, place.corners);
  const glm::vec3 way = triangle.corner + point.u * triangle.edge1 + point.v * triangle.edge2 - at;
  const float distance = std::max(glm::length(way), 1e-6F);
  const glm::vec3 direction = way / distance;
  const glm::vec3 cross = glm::cross(triangle.edge1, triangle.edge2) * instance.mirroring;
  const float facing = -glm::dot(cross, direction) / glm::length(cross);
  if (facing <= 0.0F && instance.material->frontOnly) return {direction, distance, glm::vec3(0.0F), 0.0F};
  const float density =
      brightness_[found->instance] / chances_.back().sum * distance * distance / std::max(std::abs(facing), 1e-6F);
  return {direction, distance, emissionOf(*instance.material, place), density};
}

float Emitters::density(const SurfacePoints& points, int at, glm::vec3 direction, float distance) const {
  if (empty()) return 0.0F;
  const float facing = std::max(std::abs(glm::dot(points.faceNormal[at], direction)), 1e-6F);
  return brightness_[points.instance[at]] / chances_.back().sum * distance * distance / facing;
}

}  // namespace quillmere::render
