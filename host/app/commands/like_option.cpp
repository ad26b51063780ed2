#include "like_option.h"

#include <CLI/CLI.hpp>
#include <filesystem>

#include "effect/controls.h"
#include "record/picture_record.h"
#include "record/repetition.h"
#include "report/output.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

bool given(const CLI::App& command, const char* option) {
  return command.count(option) > 0;
}

[[noreturn]] void refuse(const std::string& picture, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Failed, "picture '" + picture + "'", why, remedy);
}

template <class T>
const T& needed(const std::optional<T>& told, const std::string& picture, const char* what, const std::string& remedy) {
  if (!told) refuse(picture, std::string("it does not tell its ") + what, remedy);
  return *told;
}

// The file that made `picture`, which must still be there.
std::string present(const std::string& file, const std::string& picture, const char* what, const std::string& remedy) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    refuse(picture, std::string("the file of its ") + what + ", '" + file + "', is gone", remedy);
  }
  return file;
}

// One of the host's own is known by its view, another by its name.
void takeCamera(const Repetition& made, const CLI::App& command, SceneOptions& scene) {
  if (given(command, "--camera") || given(command, "--view") || given(command, "--turntable")) return;
  if (made.view) scene.view = parseView(*made.view);
  scene.turntable = made.turntable.value_or(0);
  if (!scene.ownCamera() && made.camera && !made.camera->empty()) scene.cameras = {*made.camera};
}

void takeScene(const Repetition& made, const std::string& picture, const CLI::App& command, LikeTarget& options) {
  SceneOptions& scene = options.scene;
  if (scene.scene.empty()) {
    const std::string remedy = "give the scene: quillmere render SCENE --like '" + picture + "'";
    scene.scene = present(needed(made.scene, picture, "scene", remedy), picture, "scene", remedy);
  }
  takeCamera(made, command, scene);
  if (!given(command, "--clip")) scene.clip = made.clip.value_or("");
  if (!given(command, "--loop")) scene.loop = made.loop;
  if (!given(command, "--fps")) scene.clock.rate = made.rate.value_or(scene.clock.rate);
  if (!given(command, "--size")) scene.size = needed(made.size, picture, "size", "give it with --size");
  if (given(command, "--frames") || given(command, "--time")) return;
  scene.clock.time = made.time;
  const std::int32_t frame = needed(made.frame, picture, "frame", "give it with --frames");
  options.frames = FrameSet({frame, frame, 1});
}

// Its controls too, which another workflow may not have.
void takeWorkflow(const Repetition& made, const Json& record, const std::string& picture, EffectOptions& effect) {
  const std::string itself =
      "give the workflow with --workflow; a PNG that a render has written holds its own: "
      "--workflow '" +
      picture + "'";
  effect.workflow = present(needed(made.workflow, picture, "workflow", itself), picture, "workflow", itself);
  if (workflowChanged(record, effect.workflow)) {
    printError("warning: the workflow '" + effect.workflow + "' has changed since '" + picture + "' was made\n  " +
               itself);
  }
  effect.controls = mergedControls(made.controls, effect.controls);
}

void takeStyle(const Repetition& made, const std::string& picture, std::optional<std::string>& style) {
  if (style || !made.style) return;
  style =
      made.style->empty() ? "" : present(*made.style, picture, "style image", "give one with --style, or --style ''");
}

}  // namespace

void addLike(CLI::App& command, std::string& picture) {
  command.get_option("SCENE")->required(false);
  command
      .add_option("--like", picture,
                  "Repeat what made a picture: scene, camera, frame, size, prompts, workflow and\n"
                  "its controls, style image, how the host draws, and seed; what else is given\n"
                  "goes before it")
      ->type_name("PICTURE")
      ->excludes("--settings");
}

std::optional<std::uint64_t> renderLike(const std::string& picture, const CLI::App& command, LikeTarget options) {
  const Json record = recordOf(picture);
  const Repetition made = repetitionOf(record, picture);
  const bool reseeded = controlCalled("seed", options.effect.controls).has_value();
  takeScene(made, picture, command, options);
  if (options.effect.workflow.empty()) takeWorkflow(made, record, picture, options.effect);
  takeStyle(made, picture, options.style);
  options.drawing.complete(made.drawing);
  auto& assignments = options.effect.assignments;
  // Of two assignments of one parameter the later one counts.
  assignments.insert(assignments.begin(), made.assignments.begin(), made.assignments.end());
  const auto& seed = needed(made.seed, picture, "seed", "render without --like").value;
  return reseeded ? std::nullopt : seed;
}

}  // namespace quillmere::app
