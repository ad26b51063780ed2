#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>

#include "commands.h"
#include "effect/camera_choice.h"
#include "effect_options.h"
#include "guide_picture.h"
#include "report/output.h"
#include "scene_options.h"
#include "sdk/api/document.h"
#include "values/utf8_text.h"

namespace quillmere::app {
namespace {

struct Options {
  SceneOptions scene;
  std::string output;
  std::int32_t frame = 0;
  GuideMode mode = GuideMode::QuickShading;
};

void refuseOtherFormats(const std::string& output) {
  std::string ending = std::filesystem::path(output).extension().string();
  for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  if (ending == ".png") return;
  throw Failure(ExitStatus::Usage, "-o '" + output + "'", "a guide image is a PNG", "end the file's name in .png");
}

ExitStatus run(const Options& options) {
  refuseOtherFormats(options.output);
  requireUtf8("-o '" + options.output + "'", options.output);
  host::Document document(options.scene.scene);
  printWarnings(document.warnings());
  document.setFps(options.scene.fps);
  document.setFrame(options.frame);
  if (document.cameras().empty()) {
    throw Failure(ExitStatus::Failed, "scene '" + options.scene.scene + "'", "it has no camera to look through",
                  "add a camera to it");
  }
  const host::Document::Camera& camera =
      options.scene.camera.empty() ? document.cameras().front() : chosenCamera(document, options.scene.camera);
  writeGuide(document, *camera.object, options.mode, options.scene.size, options.output);
  return ExitStatus::Done;
}

}  // namespace

Action addGuide(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneOptions(command, options->scene);
  command.add_option("-o,--output", options->output, "The PNG to write")->required()->type_name("FILE.png");
  command.add_option("--frame", options->frame, "The frame to draw")->capture_default_str()->type_name("N");
  addGuideMode(command, [options = options.get()](GuideMode mode) { options->mode = mode; });
  command.footer("Example:\n  quillmere guide harbour.glb -o guide.png --camera Quayside --size 1920x1080");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
