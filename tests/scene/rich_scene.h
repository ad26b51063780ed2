#pragma once

#include "gltf_builder.h"

namespace quillmere::scene {

// Everything that a file can hold, at once: skin, morph targets, animation, sparse data, texture, light, instances.
GltfBuilder richScene();

}  // namespace quillmere::scene
