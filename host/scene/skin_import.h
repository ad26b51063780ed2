#pragma once

#include <glm/glm.hpp>
#include <span>
#include <vector>

#include "scene/accessor_reader.h"
#include "scene/gltf_document.h"
#include "scene/mesh_part.h"

namespace quillmere::scene {

struct Skin {
  std::vector<int> joints;             // nodes, each of which exists
  std::vector<glm::mat4> inverseBind;  // parallel to joints
};

// Throws Error (the reason alone).
std::vector<Skin> importSkins(const GltfDocument& document, AccessorReader& reader);

// Throws Error (the reason alone) when the part names a joint that the skin doesn't have.
void checkInfluences(const MeshPart& part, const Skin& skin);

// What `skinned` takes, from the world matrices of the document's nodes.
std::vector<glm::mat4> jointMatrices(const Skin& skin, std::span<const glm::mat4> world);

}  // namespace quillmere::scene
