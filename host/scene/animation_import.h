#pragma once

#include <vector>

#include "scene/accessor_reader.h"
#include "scene/animation_track.h"

namespace quillmere::scene {

// The tracks of all animations, which play together, at most one for each property of a node: where several animations
// move the same, the first one does, with a warning. Throws Error (the reason alone).
std::vector<Track> importAnimations(GltfDocument& document, AccessorReader& reader, const NodeGraph& graph);

}  // namespace quillmere::scene
