#include "scene/material_import.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

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

bool isUnlit(const tinygltf::Material& material) {
  return material.extensions.count("KHR_materials_unlit") != 0;
}

template <class TextureInfo>
UvMapping uvMappingOf(const TextureInfo& texture) {
  UvMapping mapping;
  mapping.set = extensionIndex(texture.extensions, kTextureTransform, "texCoord").value_or(texture.texCoord);
  const auto extension = texture.extensions.find(kTextureTransform);
  if (extension == texture.extensions.end()) return mapping;
  mapping.transform = transformOf(extension->second);
  return mapping;
}

// What a material says about one of its pictures: the index of the texture, -1 for none, and how it is laid.
struct PictureUse {
  TextureMap Material::*map;
  int texture;
  UvMapping mapping;
};

template <class TextureInfo>
PictureUse pictureUse(TextureMap Material::*map, const TextureInfo& info) {
  return {map, info.index, uvMappingOf(info)};
}

std::vector<PictureUse> picturesOf(const tinygltf::Material& from) {
  std::vector<PictureUse> uses;
  uses.push_back(pictureUse(&Material::texture, from.pbrMetallicRoughness.baseColorTexture));
  if (!isUnlit(from)) {
    uses.push_back(pictureUse(&Material::emissionMap, from.emissiveTexture));
    uses.push_back(pictureUse(&Material::metalRoughnessMap, from.pbrMetallicRoughness.metallicRoughnessTexture));
    uses.push_back(pictureUse(&Material::normalMap, from.normalTexture));
    uses.push_back(pictureUse(&Material::occlusionMap, from.occlusionTexture));
  }
  std::erase_if(uses, [](const PictureUse& use) { return use.texture < 0; });
  return uses;
}

// Tells the material which of the mappings, all of them different, its pictures are laid by.
std::vector<UvMapping> layPictures(Material& material, const std::vector<PictureUse>& uses) {
  std::vector<UvMapping> mappings;
  for (const PictureUse& use : uses) {
    const auto same = [&](const UvMapping& known) {
      return known.set == use.mapping.set && known.transform == use.mapping.transform;
    };
    auto found = std::find_if(mappings.begin(), mappings.end(), same);
    if (found == mappings.end()) found = mappings.insert(found, use.mapping);
    (material.*use.map).uvs = static_cast<std::uint32_t>(found - mappings.begin());
  }
  return mappings;
}

// KHR_materials_emissive_strength.
float emissiveStrength(const tinygltf::Material& from) {
  const auto extension = from.extensions.find("KHR_materials_emissive_strength");
  if (extension == from.extensions.end()) return 1.0F;
  const tinygltf::Value& strength = extension->second.Get("emissiveStrength");
  return strength.IsNumber() ? std::max(toFloat(strength.GetNumberAsDouble()), 0.0F) : 1.0F;
}

glm::vec3 emissionOf(const tinygltf::Material& from) {
  if (isUnlit(from) || from.emissiveFactor.size() != 3) return glm::vec3(0.0F);
  glm::vec3 factor;
  for (glm::length_t i = 0; i < 3; ++i) {
    factor[i] = std::clamp(toFloat(from.emissiveFactor[static_cast<std::size_t>(i)]), 0.0F, 1.0F);
  }
  return factor * emissiveStrength(from);
}

float unit(double number) {
  return std::clamp(toFloat(number), 0.0F, 1.0F);
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
  material.unlit = isUnlit(from);
  material.emission = emissionOf(from);
  material.metallic = unit(from.pbrMetallicRoughness.metallicFactor);
  material.roughness = unit(from.pbrMetallicRoughness.roughnessFactor);
  material.normalScale = toFloat(from.normalTexture.scale);
  material.occlusionStrength = unit(from.occlusionTexture.strength);
  return material;
}

std::string_view asText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The WebP extension puts its image beside the one for readers that don't know WebP.
int sourceOf(const tinygltf::Texture& texture) {
  return extensionIndex(texture.extensions, "EXT_texture_webp", "source").value_or(texture.source);
}

void setWrapping(TextureMap& map, const tinygltf::Sampler& sampler) {
  map.repeatU = sampler.wrapS != TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  map.repeatV = sampler.wrapT != TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  map.mirrorU = sampler.wrapS == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT;
  map.mirrorV = sampler.wrapT == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT;
  map.nearest = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST;
}

// Decodes the images of a document, each file once even when several images repeat its bytes.
class TextureLoader {
 public:
  explicit TextureLoader(GltfDocument& document) : document_(document) {}  // borrowed

  // Sets the picture, wrapping and filter of a map of `material` from the texture `index`. What can't be decoded leaves
  // the map without a picture and adds a warning. Throws Error (the reason alone) for indices that do not exist.
  void loadInto(Material& material, TextureMap& map, int index) {
    const tinygltf::Texture& texture = itemAt(document_.model.textures, index, "texture");
    if (texture.sampler >= 0) setWrapping(map, itemAt(document_.model.samplers, texture.sampler, "sampler"));
    const int source = sourceOf(texture);
    if (source < 0) {
      document_.warnings.add("material '" + material.name +
                             "' is shown without its texture: its format is not supported");
      return;
    }
    try {
      map.picture = picture(source);
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
    image::Image picture = image::decode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, name);
    const std::uint64_t size =
        std::uint64_t{4} * static_cast<std::uint64_t>(picture.width()) * static_cast<std::uint64_t>(picture.height());
    if (size > bytesLeft_) throw Error("its textures need more than 2 GiB");
    bytesLeft_ -= size;
    if (picture.sample() != image::Sample::Byte) picture = image::convert(picture, image::Sample::Byte);
    auto shared = std::make_shared<const image::Image>(image::withChannels(std::move(picture), 4));
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
    set.uvMappings.push_back(layPictures(set.materials.back(), picturesOf(material)));
  }
  set.materials.push_back(importMaterial({}));
  set.uvMappings.emplace_back();
  set.used.resize(set.materials.size());
  return set;
}

void loadTextures(GltfDocument& document, MaterialSet& set) {
  TextureLoader loader(document);
  for (std::size_t i = 0; i < document.model.materials.size(); ++i) {
    if (!set.used[i]) continue;
    Material& material = set.materials[i];
    for (const PictureUse& use : picturesOf(document.model.materials[i])) {
      loader.loadInto(material, material.*use.map, use.texture);
    }
  }
}

}  // namespace quillmere::scene
