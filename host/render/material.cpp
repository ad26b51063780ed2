#include "material.h"

#include <map>

namespace quillmere::render {
namespace {

using Alpha = scene::Material::Alpha;

glm::vec4 rawColor(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point,
                   float level) {
  glm::vec4 color = material.definition->baseColor;
  const glm::uvec3 corners = cornersOf(geometry, point.triangle);
  if (material.texture) {
    const glm::vec2 uv = geometry.uvs.empty() ? glm::vec2(0.0F) : interpolated(geometry.uvs, corners, point);
    color *= material.texture->read(uv, level, *material.definition);
  }
  if (!geometry.colors.empty()) color *= interpolated(geometry.colors, corners, point);
  return color;
}

}  // namespace

std::vector<ShadingMaterial> shadingMaterials(const std::vector<scene::Material>& materials) {
  std::map<const image::Image*, std::shared_ptr<const Texture>> textures;
  std::vector<ShadingMaterial> prepared;
  prepared.reserve(materials.size());
  for (const scene::Material& material : materials) {
    std::shared_ptr<const Texture> texture;
    if (material.texture && !material.texture->empty()) {
      std::shared_ptr<const Texture>& known = textures[material.texture.get()];
      if (!known) known = std::make_shared<const Texture>(material.texture);
      texture = known;
    }
    const bool frontOnly = material.unlit && !material.doubleSided;
    prepared.push_back({&material, std::move(texture), material.alpha != Alpha::Opaque || frontOnly, frontOnly});
  }
  return prepared;
}

glm::uvec3 cornersOf(const scene::Geometry& geometry, std::uint32_t triangle) {
  const std::uint32_t* indices = geometry.indices.data() + 3 * static_cast<std::size_t>(triangle);
  return {indices[0], indices[1], indices[2]};
}

glm::vec4 colorOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point,
                  float level) {
  glm::vec4 color = rawColor(material, geometry, point, level);
  if (material.definition->alpha != Alpha::Blend) color.a = 1.0F;
  return color;
}

float alphaOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point) {
  return rawColor(material, geometry, point, 0.0F).a;
}

}  // namespace quillmere::render
