#include "scene_options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>

namespace quillmere::app {
namespace {

constexpr int kMostFps = 100000;

// Empty, or what is wrong with it: the parser's own range calls 23.976 out of it.
std::string wholeFps(const std::string& text) {
  int fps = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, fps);
  if (read.ec == std::errc{} && read.ptr == end && fps >= 1 && fps <= kMostFps) return {};
  return "'" + text + "' is no whole number from 1 to " + std::to_string(kMostFps);
}

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
  command.add_option("--fps", options.fps, "Frames per second of the scene's animation, 1 to 100000")
      ->capture_default_str()
      ->check(CLI::Validator(wholeFps, "1 to " + std::to_string(kMostFps)))
      ->type_name("N");
  command
      .add_option_function<std::string>(
          "--size", [&options](const std::string& text) { options.size = parsePictureSize(text); },
          "Size of the picture in pixels")
      ->type_name("WxH")
      ->default_str("1024x576");
}

}  // namespace quillmere::app
