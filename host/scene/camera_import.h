#pragma once

#include <vector>

#include "scene/gltf_document.h"
#include "scene/node_graph.h"
#include "scene/scene.h"

namespace quillmere::scene {

// A node that holds a camera.
struct CameraNode {
  int node = 0;
  CameraInfo info;
  Camera camera;  // toWorld is still to be filled in
};

// Cameras of the shown nodes, in document order. `moved` tells of each node whether animation moves it. Throws Error
// (the reason alone).
std::vector<CameraNode> importCameras(GltfDocument& document, const NodeGraph& graph, const std::vector<bool>& moved);

// The rotation and translation in a node's matrix: scale, shear and mirroring don't bend a camera's view.
glm::mat4 cameraToWorld(const glm::mat4& node);

}  // namespace quillmere::scene
