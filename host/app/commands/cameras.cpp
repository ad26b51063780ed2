#include <CLI/CLI.hpp>
#include <memory>

#include "base/json.h"
#include "base/utf8.h"
#include "commands.h"
#include "options.h"
#include "report/output.h"
#include "scene/scene.h"

namespace quillmere::app {
namespace {

struct Options {
  std::string scene;
  bool json = false;
};

const char* kindOf(const scene::CameraInfo& camera) {
  return camera.orthographic ? "orthographic" : "perspective";
}

std::string listing(const scene::Scene& scene) {
  std::string lines;
  for (const scene::CameraInfo& camera : scene.cameras()) {
    lines += printable(camera.name) + "\t" + kindOf(camera) + (camera.animated ? "\tanimated" : "") +
             (camera.ofHost ? "\tmade by the host" : "") + "\n";
  }
  return lines;
}

Json listed(const scene::Scene& scene) {
  Json list = Json::array();
  for (const scene::CameraInfo& camera : scene.cameras()) {
    list.push_back(
        {{"name", camera.name}, {"kind", kindOf(camera)}, {"animated", camera.animated}, {"of_host", camera.ofHost}});
  }
  return list;
}

ExitStatus run(const Options& options) {
  SceneOptions shown;
  shown.scene = options.scene;
  const auto scene = openScene(shown, {}).scene;
  printWarnings(scene->warnings());
  printResult(options.json ? lineOf(listed(*scene)) : listing(*scene));
  return ExitStatus::Done;
}

}  // namespace

Action addCameras(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneFile(command, options->scene);
  command.add_flag("--json", options->json, "Print a JSON array of objects instead of lines");
  command.footer("Example:\n  quillmere cameras harbour.glb");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
