#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <optional>

#include "commands.h"
#include "doctor/preflight.h"
#include "effect/controls.h"
#include "effect/effect_session.h"
#include "effect/settings.h"
#include "effect/workflow_catalog.h"
#include "files/exchange_files.h"
#include "files/helper_progress.h"
#include "frame_loop.h"
#include "job_file.h"
#include "like_option.h"
#include "options.h"
#include "pass_options.h"
#include "passes/depth_range.h"
#include "passes/frame_passes.h"
#include "process/process_tree.h"
#include "process/runtime_lock.h"
#include "process/user_break.h"
#include "record/picture_record.h"
#include "render_help.h"
#include "report/output.h"
#include "report/report_style.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct Options {
  SceneOptions scene;
  EffectOptions effect;
  DrawingOptions drawing;
  PassSettings passes;
  SessionOptions session;
  FrameSet frames;
  std::string output = "render_####.png", saveSettings, saveJob, like;
  std::string seed;  // the rule that --seed gives; empty: the workflow's
  std::optional<std::string> style;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
  bool json = false, quiet = false, openJd = false;
};

ReportStyle styleOf(const Options& options) {
  if (options.openJd) return ReportStyle::OpenJd;
  return options.json ? ReportStyle::Json : options.quiet ? ReportStyle::Quiet : ReportStyle::Lines;
}

FramePlan planOf(const Options& options, const fs::path& writeDirectory) {
  OutputPattern output = OutputPattern::parse(options.output);
  if (options.scene.cameras.size() > 1) output = output.namingCameras();
  if (options.frames.count() > 1) output = output.numberingFrames();
  return {options.frames, options.scene.clock, output, options.scene.size, writeDirectory, options.exr, {}};
}

// What the node was told, before a file with controls takes the workflow's place.
struct Configured {
  std::string workflow;
  Json settings;
};

Configured configure(EffectSession& session, const Options& options, const std::string& camera,
                     const fs::path& writeDirectory) {
  host::Document& document = session.document();
  document.setFps(options.scene.clock.rate.whole());
  document.setSize(options.scene.size.width, options.scene.size.height);
  applyTo(document, options.drawing);
  const NodeSetUp made = setUpNode(session.node(), document, options.effect, camera);
  if (made.workflow == WorkflowGiven::No &&
      preferWorkflow(session.node(), session.plugin()) == Preferred::ReplacedByExample && !options.quiet) {
    printError("the workflow catalog is empty: rendering with the example workflow '" +
               session.plugin().exampleWorkflow().string() + "'");
  }
  if (session.node().text(QUILLMERE_WORKFLOW_PATH).empty() && !options.quiet) {
    printError("no workflow is chosen: the frames are the host's own plain drawings");
  }
  if (!options.saveSettings.empty()) {
    saveSettings(session.node(), made.controls, options.drawing, options.saveSettings);
  }
  Configured configured{session.node().text(QUILLMERE_WORKFLOW_PATH),
                        settingsOf(session.node(), made.controls, options.drawing)};
  setControls(session.node(), made.controls, runtimeFolder(writeDirectory));
  return configured;
}

void tellOf(const OpenedScene& opened) {
  printWarnings(opened.scene->warnings());
  for (const std::string& note : opened.notes) printError(note);
}

// What a picture's record keeps of how the scene is shown.
Json shownAs(const OpenedScene& opened, const Options& options) {
  Json facts = opened.facts;
  facts["drawing"] = jsonOf(options.drawing);
  if (!options.seed.empty()) facts["seed_rule"] = options.seed;
  return facts;
}

// What a job keeps of the command line, with its paths in full. A camera of the host's own is kept by its view, so that
// it stays where it is when other frames are rendered.
Json jobOptions(const Options& options, const OpenedScene& opened) {
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
  if (!options.seed.empty()) job["seed"] = options.seed;
  if (options.style) job["style"] = *options.style;
  if (options.passes.range) job["depth-range"] = textOf(*options.passes.range);
  if (options.passes.depth) job["depth-kind"] = wordOf(kDepthKindWords, *options.passes.depth);
  if (options.passes.normal) job["normal-kind"] = wordOf(kNormalKindWords, *options.passes.normal);
  return job;
}

std::vector<std::string> camerasOf(EffectSession& session, const OpenedScene& opened) {
  return opened.cameras.empty() ? std::vector{cameraOf(session)} : opened.cameras;
}

RenderPlan tellable(const Options& options, const FramePlan& plan, const OpenedScene& opened,
                    const std::vector<std::string>& cameras, Configured configured) {
  std::vector<std::string> warnings = opened.scene->warnings();
  warnings.insert(warnings.end(), opened.notes.begin(), opened.notes.end());
  return {.scene = fs::absolute(options.scene.scene).lexically_normal().string(),
          .cameras = cameras,
          .frames = plan.frames.text(),
          .count = plan.frames.count() * static_cast<std::int64_t>(cameras.size()),
          .size = plan.size,
          .output = plan.output.text(),
          .workflow = std::move(configured.workflow),
          .settings = std::move(configured.settings),
          .warnings = std::move(warnings)};
}

// One range of depths for all frames through the camera, where the workflow asks for depth.
PassSettings passSettingsFor(const PassWish& wish, const std::string& camera, const Options& options,
                             const OpenedScene& opened) {
  PassSettings settings = options.passes;
  if (settings.range || !wish.passes.has(render::Pass::Depth)) return settings;
  const std::vector<double> seconds = posesOf(options.frames, options.scene.clock);
  settings.range = depthRangeOf(opened.scene, camera, {seconds, options.scene.size, sidesOf(options.drawing)});
  return settings;
}

// Draws the wish with each guide, and tells the helper besides `facts`.
FramePasses passesThrough(const std::string& camera, const PassWish& wish, Json facts, EffectSession& session,
                          const Options& options, const OpenedScene& opened, const fs::path& writeDirectory) {
  const auto tell = [facts = std::move(facts), folder = runtimeFolder(writeDirectory)](const Json& passes) {
    Json all = facts;
    all["passes"] = passes;
    tellHelper(all, folder);
  };
  const auto fileFor = [writeDirectory](const std::string& stem, int frame) {
    const fs::path file = passFile(writeDirectory, stem, frame);
    refuse(obstacleAtLink("pass", file));
    return file;
  };
  return {session.document(), *opened.scene, wish, passSettingsFor(wish, camera, options, opened), {fileFor, tell}};
}

// All frames through one camera after the other.
ExitStatus renderCameras(EffectSession& session, const Options& options, const OpenedScene& opened,
                         const FramePlan& plan, const PassWish& wish, ToldOnce& report,
                         const std::function<bool()>& stop) {
  const std::vector<std::string> cameras = camerasOf(session, opened);
  ExitStatus status = ExitStatus::Done;
  for (const std::string& camera : cameras) {
    if (stop()) break;
    FramePlan through = plan;
    through.camera = camera;
    through.output = plan.output.forCamera(camera);
    if (cameras.size() > 1) session.node().set(session.node().find(QUILLMERE_CAMERA), camera);
    Json facts = tellHelper(session, options.scene.scene, shownAs(opened, options), runtimeFolder(plan.writeDirectory));
    const FramePasses passes =
        passesThrough(camera, wish, std::move(facts), session, options, opened, plan.writeDirectory);
    if (renderFrames(session.document(), session.node(), through, report, stop) != ExitStatus::Done) {
      status = ExitStatus::Failed;
    }
  }
  return status;
}

ExitStatus render(const Options& options, ToldOnce& report, const UserBreak& userBreak) {
  const fs::path writeDirectory = writeDirectoryOf(options.session);
  const FramePlan plan = planOf(options, writeDirectory);
  const RuntimeLock lock(writeDirectory);
  const OpenedScene opened = openScene(options.scene, options.frames);
  EffectSession session(writeDirectory, pluginFolder(options.session.plugin), report, opened.scene,
                        options.scene.scene);
  if (!options.quiet) tellOf(opened);
  const Configured configured =
      configure(session, options, opened.cameras.empty() ? "" : opened.cameras.front(), writeDirectory);
  const std::vector<std::string> cameras = camerasOf(session, opened);
  report.renderBegins(tellable(options, plan, opened, cameras, configured));
  if (!options.saveJob.empty()) {
    const std::string scene = fs::absolute(options.scene.scene).lexically_normal().string();
    saveJob(options.saveJob, scene, jobOptions(options, opened), configured.settings);
  }
  const auto stop = [&] { return userBreak.seen() || report.outputLost(); };
  refuseSharedFiles(cameras, plan.output);
  for (const std::string& camera : cameras) requireOutput(plan.output.forCamera(camera), plan.frames);
  const PassWish wish = wishIn(requireWorkflow(session, configured.workflow, stop).answer);
  if (options.style) tellStyle(*options.style);
  if (!options.seed.empty()) tellSeedRule(options.seed);
  if (report.wantsPreviews()) askForPreviews();
  const ExitStatus status = renderCameras(session, options, opened, plan, wish, report, stop);
  if (userBreak.seen()) return ExitStatus::Broken;
  if (!report.outputLost()) return status;
  throw Failure(ExitStatus::Failed, "standard output", "cannot be written any more; the render was stopped");
}

ExitStatus run(const Options& options) {
  const OwnStandardOutput own;
  Output results(own.descriptor()), errors(STDERR_FILENO);
  const auto styled = makeReport(styleOf(options), results, errors);
  ToldOnce report(*styled, options.json ? ToldOnce::Reader::Program : ToldOnce::Reader::Person);
  const UserBreak userBreak([&report] { report.silence(); });
  adoptOrphans();
  try {
    const ExitStatus status = render(options, report, userBreak);
    report.renderEnds({status, {}, {}});
    return status;
  } catch (const std::exception& error) {
    report.renderEnds(endingOf(error));
    throw;
  }
}

// What a job, --like and --time leave to be filled in.
void complete(Options& options, CLI::App& command) {
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
    if (const auto seed = renderLike(options.like, command, target)) tellSeed(*seed);
  } else if (options.scene.scene.empty()) {
    throw Failure(ExitStatus::Usage, "render", "SCENE is required", "see quillmere render --help");
  }
  if (!options.effect.settings.empty()) options.drawing.complete(drawingIn(options.effect.settings));
  if (command.count("--time") > 0) {
    const std::int32_t frame = frameAt(*options.scene.clock.time, options.scene.clock.rate);
    options.frames = FrameSet({frame, frame, 1});
  }
}

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

void addOutputOptions(CLI::App& command, Options& options) {
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

Action addRender(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneOptions(command, options->scene);
  command.get_option("SCENE")->description(
      "The scene, a glTF 2.0 file (.gltf or .glb), or a job that --save-job has written");
  headFormerOptions(command, "Scene");
  addOutputOptions(command, *options);
  headFormerOptions(command, "Output");
  addEffectOptions(command, options->effect);
  addControls(command, options->effect.controls);
  addStyle(command, options->style);
  addSeed(command, options->seed);
  addLike(command, options->like);
  headFormerOptions(command, "Effect");
  addDrawingOptions(command, options->drawing);
  addPassSettings(command, options->passes);
  headFormerOptions(command, "Drawing");
  addSessionOptions(command, options->session);
  headFormerOptions(command, "Host");
  arrangeRenderHelp(command);
  return [options, &command] {
    complete(*options, command);
    return run(*options);
  };
}

}  // namespace quillmere::app
