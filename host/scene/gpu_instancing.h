#pragma once

#include <glm/glm.hpp>
#include <vector>

#include "scene/accessor_reader.h"
#include "scene/gltf_document.h"

namespace quillmere::scene {

inline constexpr std::size_t kMostInstances = std::size_t{1} << 21U;  // that a scene may show

// Where copies of a node's mesh stand within the node: one identity matrix unless the node uses
// EXT_mesh_gpu_instancing. Throws Error (the reason alone), for more
// than kMostInstances too.
[[noreturn]] void throwTooManyInstances();
std::vector<glm::mat4> importPlacements(const tinygltf::Node& node, AccessorReader& reader);

}  // namespace quillmere::scene
