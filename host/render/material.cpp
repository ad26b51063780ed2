#include "material.h"

#include <cmath>
#include <map>
#include <utility>

namespace quillmere::render {
namespace {

using Alpha = scene::Material::Alpha;

glm::vec4 rawColor(const ShadingMaterial& material, const SurfacePlace& place) {
  glm::vec4 color = material.definition->baseColor;
  const scene::Geometry& geometry = place.geometry;
  if (material.texture) color *= read(material.texture, place);
  if (!geometry.colors.empty()) color *= interpolated(geometry.colors, place.corners, place.point);
  return color;
}

const std::vector<glm::vec2>& uvsOf(const scene::Geometry& geometry, std::uint32_t index) {
  static const std::vector<glm::vec2> none;
  if (index == 0) return geometry.uvs;
  return index <= geometry.otherUvs.size() ? geometry.otherUvs[index - 1] : none;
}

// Twice the triangle's area in texels.
float texelsOf(const glm::uvec3& corners, const std::vector<glm::vec2>& uvs, glm::vec2 size) {
  const glm::vec2 a = (uvs[corners.y] - uvs[corners.x]) * size;
  const glm::vec2 b = (uvs[corners.z] - uvs[corners.x]) * size;
  return std::abs(a.x * b.y - a.y * b.x);
}

// Binary logarithm of a pixel's width in texels, of which it covers so many.
float levelOf(float texels) {
  return texels > 1.0F ? 0.5F * std::log2(texels) : 0.0F;
}

Four mixed(Four first, Four second, Four third, const FourPlaces& places) {
  return first * (four(1.0F) - places.u - places.v) + second * places.u + third * places.v;
}

void multiply(std::array<glm::vec4, 4>& colors, const LaidTexture& texture, const FourPlaces& places) {
  const std::vector<glm::vec2>& uvs = uvsOf(places.geometry, texture.map->uvs);
  if (uvs.empty()) {
    for (glm::vec4& color : colors) color *= texture.texture->read(glm::vec2(0.0F), 0.0F, *texture.map);
    return;
  }
  const glm::uvec3 corners = places.corners;
  const glm::vec2 first = uvs[corners.x], second = uvs[corners.y], third = uvs[corners.z];
  const Four u = mixed(four(first.x), four(second.x), four(third.x), places);
  const Four v = mixed(four(first.y), four(second.y), four(third.y), places);
  const Four texels = places.shares * texelsOf(corners, uvs, texture.texture->size());
  const FourTests coarse = texels > four(1.0F);
  if ((coarse[0] | coarse[1] | coarse[2] | coarse[3]) == 0) {
    const std::array<glm::vec4, 4> shown = texture.texture->readFour(u, v, *texture.map);
    for (std::size_t i = 0; i < 4; ++i) colors[i] *= shown[i];
    return;
  }
  for (int i = 0; i < 4; ++i) {
    colors[static_cast<std::size_t>(i)] *= texture.texture->read({u[i], v[i]}, levelOf(texels[i]), *texture.map);
  }
}

// Prepares each picture once, however many materials use it.
class TextureSet {
 public:
  LaidTexture lay(const scene::TextureMap& map, Texture::Holds holds) {
    if (!map.picture || map.picture->empty()) return {};
    std::shared_ptr<const Texture>& known = textures_[{map.picture.get(), holds}];
    if (!known) known = std::make_shared<const Texture>(map.picture, holds);
    return {known, &map};
  }

 private:
  std::map<std::pair<const image::Image*, Texture::Holds>, std::shared_ptr<const Texture>> textures_;
};

}  // namespace

std::vector<ShadingMaterial> shadingMaterials(const std::vector<scene::Material>& materials, SingleSided singleSided) {
  TextureSet textures;
  std::vector<ShadingMaterial> prepared;
  prepared.reserve(materials.size());
  for (const scene::Material& material : materials) {
    ShadingMaterial& made = prepared.emplace_back();
    made.definition = &material;
    made.texture = textures.lay(material.texture, Texture::Holds::Colors);
    made.emits = !material.unlit && material.emission != glm::vec3(0.0F);
    if (made.emits) made.emissionMap = textures.lay(material.emissionMap, Texture::Holds::Colors);
    made.glossy = !material.unlit && (material.metallic > 0.0F || material.roughness < 1.0F);
    if (!material.unlit) {
      made.metalRoughnessMap = textures.lay(material.metalRoughnessMap, Texture::Holds::Numbers);
      made.normalMap = textures.lay(material.normalMap, Texture::Holds::Numbers);
      made.occlusionMap = textures.lay(material.occlusionMap, Texture::Holds::Numbers);
      made.glossy = made.glossy || static_cast<bool>(made.metalRoughnessMap);
    }
    made.textured = made.texture || made.emissionMap || made.metalRoughnessMap || made.normalMap || made.occlusionMap;
    made.plain = material.alpha != Alpha::Blend && !made.emissionMap && !made.metalRoughnessMap && !made.normalMap &&
                 !made.occlusionMap;
    made.frontOnly = !material.doubleSided && (material.unlit || singleSided == SingleSided::All);
    made.filtered = material.alpha != Alpha::Opaque;
  }
  return prepared;
}

glm::uvec3 cornersOf(const scene::Geometry& geometry, std::uint32_t triangle) {
  const std::uint32_t* indices = geometry.indices.data() + 3 * static_cast<std::size_t>(triangle);
  return {indices[0], indices[1], indices[2]};
}

glm::vec4 read(const LaidTexture& texture, const SurfacePlace& place) {
  const std::vector<glm::vec2>& uvs = uvsOf(place.geometry, texture.map->uvs);
  if (uvs.empty()) return texture.texture->read(glm::vec2(0.0F), 0.0F, *texture.map);
  const float level =
      place.share > 0.0F ? levelOf(texelsOf(place.corners, uvs, texture.texture->size()) * place.share) : 0.0F;
  return texture.texture->read(interpolated(uvs, place.corners, place.point), level, *texture.map);
}

std::optional<CornerUvs> uvsAt(const LaidTexture& texture, const SurfacePlace& place) {
  const std::vector<glm::vec2>& uvs = uvsOf(place.geometry, texture.map->uvs);
  if (uvs.empty()) return {};
  return CornerUvs{uvs[place.corners.x], uvs[place.corners.y], uvs[place.corners.z]};
}

glm::vec4 colorOf(const ShadingMaterial& material, const SurfacePlace& place) {
  glm::vec4 color = rawColor(material, place);
  if (material.definition->alpha != Alpha::Blend) color.a = 1.0F;
  return color;
}

std::array<glm::vec4, 4> colorsOf(const ShadingMaterial& material, const FourPlaces& places) {
  std::array<glm::vec4, 4> colors;
  colors.fill(material.definition->baseColor);
  if (material.texture) multiply(colors, material.texture, places);
  const std::vector<glm::vec4>& own = places.geometry.colors;
  for (int i = 0; i < 4; ++i) {
    glm::vec4& color = colors[static_cast<std::size_t>(i)];
    if (!own.empty()) color *= interpolated(own, places.corners, {0, places.u[i], places.v[i]});
    color.a = 1.0F;
  }
  return colors;
}

Finish finishOf(const ShadingMaterial& material, const SurfacePlace& place) {
  Finish finish{material.definition->metallic, material.definition->roughness, 1.0F};
  if (material.metalRoughnessMap) {
    const glm::vec4 numbers = read(material.metalRoughnessMap, place);
    finish.metallic *= numbers.b;
    finish.roughness *= numbers.g;
  }
  if (material.occlusionMap) {
    finish.occlusion += material.definition->occlusionStrength * (read(material.occlusionMap, place).r - 1.0F);
  }
  return finish;
}

glm::vec3 emissionOf(const ShadingMaterial& material, const SurfacePlace& place) {
  if (!material.emits) return glm::vec3(0.0F);
  const glm::vec3 factor = material.definition->emission;
  return material.emissionMap ? factor * glm::vec3(read(material.emissionMap, place)) : factor;
}

float alphaOf(const ShadingMaterial& material, const scene::Geometry& geometry, const TrianglePoint& point) {
  return rawColor(material, {geometry, point}).a;
}

}  // namespace quillmere::render
