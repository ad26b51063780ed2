#include "scene/material_import.h"

#include <algorithm>
#include <cmath>

#include "scene/texture_import.h"

namespace quillmere::scene {
namespace {

constexpr const char* kTextureTransform = "KHR_texture_transform";

glm::vec2 vec2Or(const tinygltf::Value& object, const char* key, glm::vec2 otherwise) {
  const tinygltf::Value& value = object.Get(key);
  if (!value.IsArray() || value.ArrayLen() != 2) return otherwise;
  return {toFloat(value.Get(0).GetNumberAsDouble()), toFloat(value.Get(1).GetNumberAsDouble())};
}

// KHR_texture_transform: scaled, then rotated counter-clockwise as seen (v points down), then moved.
glm::mat3 transformOf(const tinygltf::Value& extension) {
  const glm::vec2 offset = vec2Or(extension, "offset", glm::vec2(0.0F));
  const glm::vec2 scale = vec2Or(extension, "scale", glm::vec2(1.0F));
  const tinygltf::Value& rotation = extension.Get("rotation");
  const float angle = rotation.IsNumber() ? toFloat(rotation.GetNumberAsDouble()) : 0.0F;
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  return {{c * scale.x, -s * scale.x, 0.0F}, {s * scale.y, c * scale.y, 0.0F}, {offset, 1.0F}};
}

UvMapping uvMappingOf(const tinygltf::TextureInfo& texture) {
  UvMapping mapping;
  if (texture.index < 0) return mapping;
  mapping.set = texture.texCoord;
  const auto extension = texture.extensions.find(kTextureTransform);
  if (extension == texture.extensions.end()) return mapping;
  mapping.transform = transformOf(extension->second);
  const tinygltf::Value& set = extension->second.Get("texCoord");
  if (set.IsInt()) mapping.set = set.GetNumberAsInt();
  return mapping;
}

Material importMaterial(const tinygltf::Material& from) {
  Material material;
  material.name = printable(from.name);
  const auto& factor = from.pbrMetallicRoughness.baseColorFactor;
  for (glm::length_t i = 0; i < 4; ++i) {
    material.baseColor[i] = std::clamp(toFloat(factor[static_cast<std::size_t>(i)]), 0.0F, 1.0F);
  }
  if (from.alphaMode == "MASK") material.alpha = Material::Alpha::Mask;
  if (from.alphaMode == "BLEND") material.alpha = Material::Alpha::Blend;
  material.alphaCutoff = toFloat(from.alphaCutoff);
  material.doubleSided = from.doubleSided;
  material.unlit = from.extensions.count("KHR_materials_unlit") != 0;
  return material;
}

void warnOfTheRest(const tinygltf::Material& material, Warnings& warnings) {
  if (material.normalTexture.index >= 0) warnings.add("normal maps are not shown");
  if (material.occlusionTexture.index >= 0) warnings.add("occlusion maps are not shown");
  if (material.pbrMetallicRoughness.metallicRoughnessTexture.index >= 0) {
    warnings.add("metal and roughness are not shown");
  }
  for (const double emitted : material.emissiveFactor) {
    if (emitted > 0.0) warnings.add("glowing materials are shown without their glow");
  }
}

}  // namespace

int MaterialSet::use(int material) {
  const std::size_t given = materials.size() - 1;
  const std::size_t index = material < 0 ? given : static_cast<std::size_t>(material);
  if (material >= 0 && index >= given) throwMissing("material", material, given);
  used[index] = true;
  return static_cast<int>(index);
}

MaterialSet importMaterials(GltfDocument& document) {
  MaterialSet set;
  for (const auto& material : document.model.materials) {
    set.materials.push_back(importMaterial(material));
    set.uvMappings.push_back(uvMappingOf(material.pbrMetallicRoughness.baseColorTexture));
    warnOfTheRest(material, document.warnings);
  }
  set.materials.emplace_back();
  set.uvMappings.emplace_back();
  set.used.resize(set.materials.size());
  return set;
}

void loadTextures(GltfDocument& document, MaterialSet& set) {
  TextureLoader loader(document);
  for (std::size_t i = 0; i < document.model.materials.size(); ++i) {
    const int texture = document.model.materials[i].pbrMetallicRoughness.baseColorTexture.index;
    if (set.used[i] && texture >= 0) loader.loadInto(set.materials[i], texture);
  }
}

}  // namespace quillmere::scene
