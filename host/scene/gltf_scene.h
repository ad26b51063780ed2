#pragma once

#include <memory>
#include <string>
#include <vector>

#include "scene/animation.h"
#include "scene/camera_import.h"
#include "scene/deformation.h"
#include "scene/light_import.h"
#include "scene/node_graph.h"
#include "scene/scene.h"

namespace quillmere::scene {

// One mesh part that a node shows, once or several times.
struct Instance {
  int node = 0;
  int skin = -1;  // its joints place the part instead of the node
  std::shared_ptr<const MeshPart> part;
  std::shared_ptr<const std::vector<glm::mat4>> placements;  // within the node; without meaning when it has a skin
  int object = 0;                                            // index into SceneParts::objects
  std::shared_ptr<const Geometry> rigid;                     // the same in all snapshots; null when it deforms
};

// Everything that a scene is posed from; free of the document that it came from.
struct SceneParts {
  NodeGraph graph;
  Playback playback;
  bool loop = false;
  std::vector<bool> moved;  // of each node, whether animation moves it or one above it
  std::vector<Skin> skins;
  std::vector<Instance> instances;
  std::vector<CameraNode> cameras;
  std::vector<LightNode> lights;
  std::vector<Material> materials;
  std::vector<std::string> objects;  // at least one
  std::vector<std::string> warnings;
  Contents contents;
};

// The scene that is posed from them, at any second.
std::shared_ptr<const Scene> makeScene(SceneParts parts);

}  // namespace quillmere::scene
