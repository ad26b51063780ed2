#pragma once

#include <vector>

#include "scene/gltf_document.h"
#include "scene/node_graph.h"
#include "scene/scene.h"

namespace quillmere::scene {

// A node that holds a punctual light (KHR_lights_punctual).
struct LightNode {
  int node = 0;
  Light light;  // in the node's own space
};

// Lights of the shown nodes. Throws Error (the reason alone).
std::vector<LightNode> importLights(GltfDocument& document, const NodeGraph& graph);

// The light at its place in the world; scale changes neither its range nor its brightness.
Light lightInWorld(const Light& light, const glm::mat4& toWorld);

}  // namespace quillmere::scene
