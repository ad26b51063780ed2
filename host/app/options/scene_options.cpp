#include "scene_options.h"

#include <CLI/CLI.hpp>

namespace quillmere::app {
namespace {

constexpr int kMostFps = 100000;

}  // namespace

void addSceneFile(CLI::App& command, std::string& scene) {
  command.add_option("SCENE", scene, "The scene: a glTF 2.0 file (.gltf or .glb)")
      ->required()
      ->check(CLI::ExistingFile)
      ->type_name("");
}

void addSceneOptions(CLI::App& command, SceneOptions& options) {
  addSceneFile(command, options.scene);
  command.add_option("--camera", options.camera, "The camera to look through (default: the scene's first)")
      ->type_name("NAME");
  command.add_option("--fps", options.fps, "Frames per second of the scene's animation")
      ->capture_default_str()
      ->check(CLI::Range(1, kMostFps))
      ->type_name("N");
  command
      .add_option_function<std::string>(
          "--size", [&options](const std::string& text) { options.size = parsePictureSize(text); },
          "Size of the picture in pixels")
      ->type_name("WxH")
      ->default_str("1024x576");
}

}  // namespace quillmere::app
