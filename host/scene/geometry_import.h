#pragma once

#include <cstdint>
#include <vector>

#include "scene/accessor_reader.h"
#include "scene/deformation.h"
#include "scene/gltf_document.h"
#include "scene/material_import.h"

namespace quillmere::scene {

// Whether a primitive of this mode (a TINYGLTF_MODE_…) consists of triangles.
bool isOfTriangles(int mode);

// Three indices a triangle, wound as glTF 2.0, 3.7.2.1 says. Vertices at the end that complete no triangle are dropped.
std::vector<std::uint32_t> assembleTriangles(int mode, std::vector<std::uint32_t> indices);

// The parts of a mesh that can be shown; points and lines are left out with a warning. `materials.used` is noted for
// each. Throws Error (the reason alone).
std::vector<MeshPart> importMesh(GltfDocument& document, AccessorReader& reader, MaterialSet& materials,
                                 const tinygltf::Mesh& mesh);

}  // namespace quillmere::scene
