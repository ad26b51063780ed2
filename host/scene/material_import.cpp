#include "scene/material_import.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string_view>

#include "base/file_reading.h"
#include "image/conversion.h"
#include "image/file_formats.h"
#include "scene/document_survey.h"

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
  mapping.set = extensionIndex(texture.extensions, kTextureTransform, "texCoord").value_or(texture.texCoord);
  const auto extension = texture.extensions.find(kTextureTransform);
  if (extension == texture.extensions.end()) return mapping;
  mapping.transform = transformOf(extension->second);
  return mapping;
}

Material importMaterial(const tinygltf::Material& from) {
  Material material;
  material.name = excerpt(from.name);
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

std::string_view asText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The WebP extension puts its image beside the one for readers that don't know WebP.
int sourceOf(const tinygltf::Texture& texture) {
  return extensionIndex(texture.extensions, "EXT_texture_webp", "source").value_or(texture.source);
}

void setWrapping(Material& material, const tinygltf::Sampler& sampler) {
  material.repeatU = sampler.wrapS != TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  material.repeatV = sampler.wrapT != TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  material.mirrorU = sampler.wrapS == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT;
  material.mirrorV = sampler.wrapT == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT;
  material.nearest = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST;
}

// Decodes the images of a document, each file once even when several images repeat its bytes.
class TextureLoader {
 public:
  explicit TextureLoader(GltfDocument& document) : document_(document) {}  // borrowed

  // Sets the image, wrapping and filter of `texture`. What can't be decoded leaves the material without an image and
  // adds a warning. Throws Error (the reason alone) for indices that do not exist.
  void loadInto(Material& material, int index) {
    const tinygltf::Texture& texture = itemAt(document_.model.textures, index, "texture");
    if (texture.sampler >= 0) setWrapping(material, itemAt(document_.model.samplers, texture.sampler, "sampler"));
    const int source = sourceOf(texture);
    if (source < 0) {
      document_.warnings.add("material '" + material.name +
                             "' is shown without its texture: its format is not supported");
      return;
    }
    try {
      material.texture = picture(source);
    } catch (const Error& error) {
      document_.warnings.add("material '" + material.name + "' is shown without its texture: " + error.what());
    }
  }

 private:
  using Picture = std::shared_ptr<const image::Image>;

  Picture picture(int index) {
    const tinygltf::Image& image = itemAt(document_.model.images, index, "image");
    const std::string name = image.uri.empty() ? "image " + std::to_string(index) : excerpt(image.uri);
    const auto& embedded = document_.embeddedImages[static_cast<std::size_t>(index)];
    if (!embedded.empty()) return decoded(asText(embedded), name);
    if (image.bufferView >= 0) return decoded(asText(viewBytes(document_.model, image.bufferView)), name);
    return decoded(asText(fileOf(image)), name);
  }

  // A picture that is missing or out of reach is a picture that can't be shown: the scene is worth loading without it.
  const std::vector<std::uint8_t>& fileOf(const tinygltf::Image& image) {
    try {
      const auto path = resolveReference(document_.folder, image.uri);
      auto known = files_.find(path);
      if (known == files_.end()) known = files_.emplace(path, readBytes(path, kMostFileBytes)).first;
      return known->second;
    } catch (const Error& error) {
      throw Error("the picture '" + excerpt(image.uri) + "' can't be read: " + error.what());
    }
  }

  Picture decoded(std::string_view bytes, const std::string& name) {
    const auto known = pictures_.find(bytes);
    if (known != pictures_.end()) return known->second;
    const image::Image picture =
        image::decode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, name);
    const std::uint64_t size =
        std::uint64_t{4} * static_cast<std::uint64_t>(picture.width()) * static_cast<std::uint64_t>(picture.height());
    if (size > bytesLeft_) throw Error("its textures need more than 2 GiB");
    bytesLeft_ -= size;
    auto shared =
        std::make_shared<const image::Image>(image::withChannels(image::convert(picture, image::Sample::Byte), 4));
    pictures_.emplace(bytes, shared);
    return shared;
  }

  // Files of different lengths can't be the same, however much they have in common.
  struct ShorterFirst {
    bool operator()(std::string_view a, std::string_view b) const {
      return a.size() != b.size() ? a.size() < b.size() : a.data() != b.data() && a < b;
    }
  };

  GltfDocument& document_;
  std::map<std::filesystem::path, std::vector<std::uint8_t>> files_;  // read from disk; `pictures_` views them
  std::map<std::string_view, Picture, ShorterFirst> pictures_;        // by the bytes of the encoded file
  std::uint64_t bytesLeft_ = std::uint64_t{2} << 30U;                 // of all pictures together, as RGBA
};

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
