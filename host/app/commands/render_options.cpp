#include "render_options.h"

#include <CLI/CLI.hpp>
#include <filesystem>

#include "effect/controls.h"
#include "job_file.h"
#include "like_option.h"
#include "pass_options.h"
#include "record/picture_record.h"
#include "render_help.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

std::string styleImage(const std::string& given) {
  requireUtf8("--style '" + given + "'", given);
  std::error_code error;
  if (given.empty() || fs::is_regular_file(given, error)) return given.empty() ? "" : fs::absolute(given).string();
  throw Failure(ExitStatus::Usage, "--style '" + given + "'", "no such picture", "give another, or '' for none");
}

// The effect itself follows the style image that a viewer has locked, and no other.
void addStyle(CLI::App& command, std::optional<std::string>& style) {
  command
      .add_option_function<std::string>(
          "--style", [&style](const std::string& given) { style = styleImage(given); },
          "A picture whose style to follow, in place of the locked one; '' for none")
      ->type_name("PICTURE");
}

void addOutputOptions(CLI::App& command, RenderOptions& options) {
  command
      .add_option("-o,--output", options.output,
                  "File of each frame; '####' (or %04d, $F4, {frame}) stands for its number,\n"
                  "{camera} for its camera, and the ending for the format: .png (8 bits),\n"
                  ".16.png (16 bits) or .exr (floats)")
      ->capture_default_str()
      ->type_name("PATTERN");
  command
      .add_option_function<std::string>(
          "--exr-encoding",
          [&options](const std::string& word) {
            options.exr = word == "srgb" ? image::ExrEncoding::Srgb : image::ExrEncoding::Linear;
          },
          "What an .exr holds: linear light, or the values of a PNG (srgb)")
      ->check(CLI::IsMember({"linear", "srgb"}))
      ->type_name("linear|srgb")
      ->default_str("linear");
  command
      .add_option_function<std::string>(
          "--frames,--frame", [&options](const std::string& text) { options.frames = parseFrameSet(text); },
          "Frames to render")
      ->type_name("A|A-B|A-BxSTEP,...")
      ->default_str("0");
  addTime(command, options.scene, "--frames");
  command
      .add_option("--save-settings", options.saveSettings,
                  "Write the effect's settings, and the controls, to a file, before the first frame is rendered")
      ->type_name("FILE");
  command
      .add_option("--save-job", options.saveJob,
                  "Write all of this render to a file, before the first frame is rendered;\n"
                  "'quillmere render FILE' renders it, and what else is given goes before it")
      ->type_name("FILE");
  command.add_flag("--dry-run", options.dryRun,
                   "Render nothing: check the options, tell with --json what they come to, and write\n"
                   "what --save-settings and --save-job name");
  auto* json =
      command.add_flag("--json", options.json, "Print events as JSON, one a line, instead of status and file names");
  auto* quiet = command.add_flag("--quiet", options.quiet, "Print nothing but errors")->excludes(json);
  command
      .add_option_function<std::string>(
          "--report", [&options](const std::string& /*word*/) { options.openJd = true; },
          "Print the lines that engines of Open Job Description read")
      ->check(CLI::IsMember({"openjd"}))
      ->type_name("openjd")
      ->excludes(json)
      ->excludes(quiet);
}

// Puts the options that stand under no heading yet under this one in the help.
void headFormerOptions(CLI::App& command, const std::string& heading) {
  for (CLI::Option* option : command.get_options()) {
    if (!option->get_positional() && option->get_group() == "Options") option->group(heading);
  }
}

}  // namespace

void addControls(CLI::App& command, Json& controls) {
  command
      .add_option_function<std::vector<std::string>>(
          "--control",
          [&controls](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) readControl(text, controls);
          },
          "Set one of the workflow's controls, which 'quillmere workflows controls' lists;\n"
          "may be given several times")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
}

void addRenderOptions(CLI::App& command, RenderOptions& options) {
  addSceneOptions(command, options.scene);
  command.get_option("SCENE")->description(
      "The scene, a glTF 2.0 file (.gltf or .glb), or a job that --save-job has written");
  headFormerOptions(command, "Scene");
  addOutputOptions(command, options);
  headFormerOptions(command, "Output");
  addSequenceOptions(command, options.sequence);
  headFormerOptions(command, "Several frames");
  addEffectOptions(command, options.effect);
  addControls(command, options.effect.controls);
  addStyle(command, options.style);
  addSeed(command, options.seed);
  addLike(command, options.like);
  headFormerOptions(command, "Effect");
  addDrawingOptions(command, options.drawing);
  addPassSettings(command, options.passes);
  headFormerOptions(command, "Drawing");
  addSessionOptions(command, options.session);
  headFormerOptions(command, "Host");
  arrangeRenderHelp(command);
}

void complete(RenderOptions& options, CLI::App& command) {
  if (isJob(options.scene.scene)) {
    if (!options.like.empty()) {
      throw Failure(ExitStatus::Usage, "--like", "a job says itself how its frames are made", "give one of them");
    }
    const std::string job = options.scene.scene;
    if (options.effect.settings.empty()) options.effect.settings = job;
    options.scene.scene = takeJob(job, command);
  }
  if (!options.like.empty()) {
    const LikeTarget target{options.scene,   options.frames, options.effect,
                            options.drawing, options.passes, options.style};
    options.repeatedSeed = renderLike(options.like, command, target);
    if (options.repeatedSeed) tellSeed(*options.repeatedSeed);
  } else if (options.scene.scene.empty()) {
    throw Failure(ExitStatus::Usage, "render", "SCENE is required", "see quillmere render --help");
  }
  if (!options.effect.settings.empty()) options.drawing.complete(drawingIn(options.effect.settings));
  if (command.count("--time") > 0) {
    const std::int32_t frame = frameAt(*options.scene.clock.time, options.scene.clock.rate);
    options.frames = FrameSet({frame, frame, 1});
  }
}

Json jobOptions(const RenderOptions& options, const OpenedScene& opened) {
  const SceneOptions& scene = options.scene;
  Json job{{"size", std::to_string(scene.size.width) + "x" + std::to_string(scene.size.height)},
           {"fps", scene.clock.rate.text()},
           {"output", fs::absolute(options.output).lexically_normal().string()},
           {"exr-encoding", options.exr == image::ExrEncoding::Srgb ? "srgb" : "linear"}};
  if (scene.clock.time) job["time"] = Json(*scene.clock.time).dump();
  if (!scene.clock.time) job["frames"] = options.frames.text();
  if (opened.facts.contains("view")) job["view"] = opened.facts["view"];
  if (!opened.facts.contains("view") && !opened.cameras.empty()) job["camera"] = opened.cameras;
  if (scene.turntable > 0) job["turntable"] = std::to_string(scene.turntable);
  if (!scene.clip.empty()) job["clip"] = scene.clip;
  if (scene.loop) job["loop"] = true;
  if (options.repeatedSeed) job["seed"] = std::to_string(*options.repeatedSeed);
  if (!options.seed.empty()) job["seed"] = options.seed;
  if (options.style) job["style"] = *options.style;
  if (options.passes.range) job["depth-range"] = textOf(*options.passes.range);
  if (options.passes.depth) job["depth-kind"] = wordOf(kDepthKindWords, *options.passes.depth);
  if (options.passes.normal) job["normal-kind"] = wordOf(kNormalKindWords, *options.passes.normal);
  return job;
}

}  // namespace quillmere::app
