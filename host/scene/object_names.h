#pragma once

#include <string>
#include <vector>

#include "scene/gltf_scene.h"

namespace quillmere::scene {

// Names the nodes that show `instances`, and sets Instance::object. Nodes are called by their own name, else their
// mesh's, else kUnnamed; those that share one by the names of the nodes above them as well ("Boat/Mast"), and with
// ".1", ".2" … where even those are the same. The names are the same whatever is animated, so they hold for all frames.
std::vector<std::string> nameObjects(const GltfDocument& document, const NodeGraph& graph,
                                     std::vector<Instance>& instances);

}  // namespace quillmere::scene
