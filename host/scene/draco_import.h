#pragma once

#include "scene/gltf_document.h"

namespace quillmere::scene {

// Puts the numbers of meshes that are compressed with Draco (KHR_draco_mesh_compression) into buffers of their own, so
// that accessors read them like any others. What is decompressed is bounded by the bytes of the file: 256 times as
// much, 64 MiB at least, 2 GiB at most. Throws Error (the reason alone).
void decompressMeshes(GltfDocument& document);

}  // namespace quillmere::scene
