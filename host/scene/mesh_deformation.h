#pragma once

#include <span>

#include "scene/mesh_part.h"

namespace quillmere::scene {

// The part with its morph targets added; weights that are missing are 0. The result is finite whatever the weights are.
Geometry morphed(const MeshPart& part, std::span<const float> weights);

// `geometry`, which is the part's or morphed from it, moved by its joints: `joints` take each joint's share of a vertex
// from object space to the world, and there must be one for every joint that the influences name.
Geometry skinned(const MeshPart& part, Geometry geometry, std::span<const glm::mat4> joints);

}  // namespace quillmere::scene
