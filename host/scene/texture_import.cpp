#include "scene/texture_import.h"

#include <span>

#include "image/file_formats.h"
#include "image/conversion.h"
#include "scene/neighbour_files.h"

namespace quillmere::scene {
namespace {

std::string_view asText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The WebP extension puts its image beside the one for readers that don't know WebP.
int sourceOf(const tinygltf::Texture& texture) {
  const auto webp = texture.extensions.find("EXT_texture_webp");
  if (webp != texture.extensions.end() && webp->second.Get("source").IsInt()) {
    return webp->second.Get("source").GetNumberAsInt();
  }
  return texture.source;
}

void setWrapping(Material& material, const tinygltf::Sampler& sampler) {
  material.repeatU = sampler.wrapS != TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  material.repeatV = sampler.wrapT != TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  material.mirrorU = sampler.wrapS == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT;
  material.mirrorV = sampler.wrapT == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT;
  material.nearest = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST;
}

}  // namespace

void TextureLoader::loadInto(Material& material, int index) {
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

TextureLoader::Picture TextureLoader::picture(int index) {
  const tinygltf::Image& image = itemAt(document_.model.images, index, "image");
  const std::string name = image.uri.empty() ? "image " + std::to_string(index) : printable(image.uri);
  const auto& embedded = document_.embeddedImages[static_cast<std::size_t>(index)];
  if (!embedded.empty()) return decoded(asText(embedded), name);
  if (image.bufferView >= 0) return decoded(asText(viewBytes(document_.model, image.bufferView)), name);
  return decoded(asText(fileOf(image)), name);
}

// A picture that is missing or out of reach is a picture that can't be shown: the scene is worth loading without it.
const std::vector<std::uint8_t>& TextureLoader::fileOf(const tinygltf::Image& image) {
  try {
    const auto path = resolveReference(document_.folder, image.uri);
    auto known = files_.find(path);
    if (known == files_.end()) known = files_.emplace(path, readWhole(path)).first;
    return known->second;
  } catch (const Error& error) {
    throw Error("the picture '" + printable(image.uri) + "' can't be read: " + error.what());
  }
}

TextureLoader::Picture TextureLoader::decoded(std::string_view bytes, const std::string& name) {
  const auto known = pictures_.find(bytes);
  if (known != pictures_.end()) return known->second;
  const image::Image picture = image::decode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, name);
  const std::uint64_t size =
      std::uint64_t{4} * static_cast<std::uint64_t>(picture.width()) * static_cast<std::uint64_t>(picture.height());
  if (size > bytesLeft_) throw Error("its textures need more than 2 GiB");
  bytesLeft_ -= size;
  auto shared =
      std::make_shared<const image::Image>(image::withChannels(image::convert(picture, image::Sample::Byte), 4));
  pictures_.emplace(bytes, shared);
  return shared;
}

}  // namespace quillmere::scene
