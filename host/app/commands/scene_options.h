#pragma once

#include <string>

#include "values/picture_size.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// Which scene is looked at, through what and how large.
struct SceneOptions {
  std::string scene;
  std::string camera;  // empty: the scene's first
  int fps = 30;
  PictureSize size;
};

void addSceneFile(CLI::App& command, std::string& scene);
void addSceneOptions(CLI::App& command, SceneOptions& options);

}  // namespace quillmere::app
