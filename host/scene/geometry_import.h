#pragma once

#include <vector>

#include "scene/accessor_reader.h"
#include "scene/gltf_document.h"
#include "scene/material_import.h"
#include "scene/mesh_part.h"

namespace quillmere::scene {

// The parts of a mesh that can be shown; points and lines are left out with a warning. `materials.used` is noted for
// each. Throws Error (the reason alone).
std::vector<MeshPart> importMesh(GltfDocument& document, AccessorReader& reader, MaterialSet& materials,
                                 const tinygltf::Mesh& mesh);

}  // namespace quillmere::scene
