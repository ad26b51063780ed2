#pragma once

#include <glm/glm.hpp>
#include <vector>

#include "scene/gltf_document.h"
#include "scene/scene.h"

namespace quillmere::scene {

// How pictures of a material are laid onto a geometry; done once on import, so that a Material needs no more than uvs.
struct UvMapping {
  int set = 0;  // of texture coordinates
  glm::mat3 transform{1.0F};
};

// The materials of a document, plus one for geometry that has none (the last one). The vectors are parallel.
struct MaterialSet {
  std::vector<Material> materials;                 // without textures until loadTextures
  std::vector<std::vector<UvMapping>> uvMappings;  // of each material all that differ, as TextureMap::uvs counts them
  std::vector<bool> used;

  // The index to store for a primitive that names `material` (-1 = none). Throws Error (the reason alone).
  int use(int material);
};

MaterialSet importMaterials(GltfDocument& document);

// Decodes the images of the materials that are used. What can't be decoded is left out with a warning.
void loadTextures(GltfDocument& document, MaterialSet& set);

}  // namespace quillmere::scene
