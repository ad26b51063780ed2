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
#include "like_option.h"
#include "options.h"
#include "process/process_tree.h"
#include "process/runtime_lock.h"
#include "process/user_break.h"
#include "record/picture_record.h"
#include "report/output.h"
#include "report/report_style.h"
#include "scene/fingerprint.h"
#include "sequence/in_turn.h"
#include "sequence_run.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct Options {
  SceneOptions scene;
  EffectOptions effect;
  DrawingOptions drawing;
  SessionOptions session;
  FrameSet frames;
  std::string output = "render_####.png", saveSettings, like;
  std::optional<std::string> style;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
  bool json = false, quiet = false;
  SequenceOptions sequence;
};

ReportStyle styleOf(const Options& options) {
  return options.json ? ReportStyle::Json : options.quiet ? ReportStyle::Quiet : ReportStyle::Lines;
}

// Of all frames through all cameras that the options name.
OutputPattern outputOf(const Options& options) {
  OutputPattern output = OutputPattern::parse(options.output);
  if (options.scene.cameras.size() > 1) output = output.namingCameras();
  return options.frames.count() > 1 ? output.numberingFrames() : output;
}

FramePlan planOf(const Options& options, const fs::path& writeDirectory) {
  return {options.scene.clock, outputOf(options), options.scene.size, writeDirectory, options.exr, {}};
}

SequencePlan sequenceOf(const Options& options, const std::vector<std::string>& cameras) {
  using Former = SequencePlan::Former;
  return {cameras,
          options.frames,
          outputOf(options),
          options.scene.size,
          options.sequence.resume ? Former::Kept : Former::Replaced,
          options.sequence.rules};
}

// What the node was told, before a file with controls takes the workflow's place.
struct Configured {
  std::string workflow;
  Json settings, controls;
};

Configured configure(EffectSession& session, const Options& options, const std::string& camera,
                     const fs::path& writeDirectory) {
  host::Document& document = session.document();
  document.setFps(options.scene.clock.rate.whole());
  document.setSize(options.scene.size.width, options.scene.size.height);
  applyTo(document, options.drawing);
  const NodeSetUp made = setUpNode(session.node(), document, options.effect, camera);
  if (made.workflow == WorkflowGiven::No &&
      preferWorkflow(session.node(), session.plugin()) == Preferred::ReplacedByExample && !options.quiet &&
      !options.sequence.worker) {
    printError("the workflow catalog is empty: rendering with the example workflow '" +
               session.plugin().exampleWorkflow().string() + "'");
  }
  if (!options.saveSettings.empty()) {
    saveSettings(session.node(), made.controls, options.drawing, options.saveSettings);
  }
  Configured configured{session.node().text(QUILLMERE_WORKFLOW_PATH),
                        settingsOf(session.node(), made.controls, options.drawing), made.controls};
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
  return facts;
}

std::vector<std::string> camerasOf(EffectSession& session, const OpenedScene& opened) {
  return opened.cameras.empty() ? std::vector{cameraOf(session)} : opened.cameras;
}

RenderPlan tellable(const Options& options, const SequencePlan& plan, const OpenedScene& opened,
                    const Configured& configured) {
  std::vector<std::string> warnings = opened.scene->warnings();
  warnings.insert(warnings.end(), opened.notes.begin(), opened.notes.end());
  return {.scene = fs::absolute(options.scene.scene).lexically_normal().string(),
          .cameras = plan.cameras,
          .frames = plan.frames.text(),
          .count = plan.count(),
          .size = plan.size,
          .output = plan.output.text(),
          .workflow = configured.workflow,
          .settings = configured.settings,
          .warnings = std::move(warnings)};
}

// What makes the pictures; `scene` is the content of its files, taken before they were loaded.
RenderInputs inputsGiven(const Options& options, const std::string& scene, const OpenedScene& opened,
                         const Configured& configured, const FramePlan& plan) {
  return {.writeDirectory = plan.writeDirectory,
          .scene = scene,
          .shown = opened.facts,
          .drawing = options.drawing,
          .workflow = configured.workflow,
          .controls = configured.controls,
          .size = plan.size,
          .format = plan.output.format(),
          .exr = plan.exr};
}

// `shared` is what stands behind `report`.
ExitStatus render(const Options& options, const CLI::App& command, Report& shared, ToldOnce& report,
                  const UserBreak& userBreak) {
  const fs::path writeDirectory = writeDirectoryOf(options.session);
  const FramePlan plan = planOf(options, writeDirectory);
  const RuntimeLock lock(writeDirectory);
  SequenceLog log;
  LoggedReport logged(report, log, writeDirectory);
  const std::string content = scene::fingerprint(options.scene.scene);
  const OpenedScene opened = openScene(options.scene, options.frames);
  EffectSession session(writeDirectory, pluginFolder(options.session.plugin), logged, opened.scene,
                        options.scene.scene);
  if (!options.quiet) tellOf(opened);
  const Configured configured =
      configure(session, options, opened.cameras.empty() ? "" : opened.cameras.front(), writeDirectory);
  const SequencePlan sequence = sequenceOf(options, camerasOf(session, opened));
  report.renderBegins(tellable(options, sequence, opened, configured));
  const auto stop = [&] { return userBreak.seen() || report.outputLost(); };
  refuseSharedFiles(sequence.cameras, plan.output);
  for (const std::string& camera : sequence.cameras) requireOutput(plan.output.forCamera(camera), sequence.frames);
  const WorkflowCheck check = requireWorkflow(session, configured.workflow, stop);
  if (options.style) tellStyle(*options.style);
  if (report.wantsPreviews()) askForPreviews();
  const SequenceRun run{session,
                        plan,
                        sequence,
                        options.sequence,
                        command,
                        inputsGiven(options, content, opened, configured, plan),
                        options.scene.scene,
                        shownAs(opened, options),
                        textAt(check.answer, "backend"),
                        shared,
                        options.json ? ToldOnce::Reader::Program : ToldOnce::Reader::Person};
  const ExitStatus status = renderSequence(run, report, logged, log, stop);
  if (userBreak.seen()) return ExitStatus::Broken;
  if (!report.outputLost()) return status;
  throw Failure(ExitStatus::Failed, "standard output", "cannot be written any more; the render was stopped");
}

// For another process, which has looked at everything and tells what to render on standard input.
ExitStatus renderOrders(const Options& options) {
  const OwnStandardOutput own;
  Output results(own.descriptor());
  Orders orders;
  WorkerReport worker(results);
  ToldOnce report(worker, ToldOnce::Reader::Program);
  const UserBreak userBreak([] {});
  adoptOrphans();
  const fs::path writeDirectory = writeDirectoryOf(options.session);
  const FramePlan plan = planOf(options, writeDirectory);
  const RuntimeLock lock(writeDirectory);
  const OpenedScene opened = openScene(options.scene, options.frames);
  EffectSession session(writeDirectory, pluginFolder(options.session.plugin), report, opened.scene,
                        options.scene.scene);
  configure(session, options, opened.cameras.empty() ? "" : opened.cameras.front(), writeDirectory);
  FrameLoop loop(session, plan, report);
  const auto stop = [&] { return userBreak.seen() || results.lost() || orders.ended(); };
  return serve(
      orders, writeDirectory, [&](const Shot& shot, const auto& end) { return loop.render(shot, end); }, worker, stop);
}

ExitStatus run(const Options& options, const CLI::App& command) {
  const OwnStandardOutput own;
  Output results(own.descriptor()), errors(STDERR_FILENO);
  const auto styled = makeReport(styleOf(options), results, errors);
  ToldOnce report(*styled, options.json ? ToldOnce::Reader::Program : ToldOnce::Reader::Person);
  const UserBreak userBreak([&report] { report.silence(); });
  adoptOrphans();
  try {
    const ExitStatus status = render(options, command, *styled, report, userBreak);
    report.renderEnds({status, {}, {}});
    return status;
  } catch (const std::exception& error) {
    report.renderEnds(endingOf(error));
    throw;
  }
}

// What --like and --time leave to be filled in.
void complete(Options& options, const CLI::App& command) {
  if (!options.like.empty()) {
    const LikeTarget target{options.scene, options.frames, options.effect, options.drawing, options.style};
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
  auto* json =
      command.add_flag("--json", options.json, "Print events as JSON, one a line, instead of status and file names");
  command.add_flag("--quiet", options.quiet, "Print nothing but errors")->excludes(json);
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
  headFormerOptions(command, "Scene");
  addOutputOptions(command, *options);
  headFormerOptions(command, "Output");
  addSequenceOptions(command, options->sequence);
  headFormerOptions(command, "Several frames");
  addEffectOptions(command, options->effect);
  addControls(command, options->effect.controls);
  addStyle(command, options->style);
  addLike(command, options->like);
  headFormerOptions(command, "Effect");
  addDrawingOptions(command, options->drawing);
  headFormerOptions(command, "Drawing");
  addSessionOptions(command, options->session);
  headFormerOptions(command, "Host");
  command.footer(
      "Examples:\n"
      "  quillmere render harbour.glb --prompt \"a misty harbour at dawn\"\n"
      "  quillmere render harbour.glb --frames 1-48x4 --output shots/harbour_####.png --size 1920x1080\n"
      "  quillmere render harbour.glb --workflow \"FLUX.2 Dev\" --camera Quayside --guide final --json\n"
      "  quillmere render harbour.glb --workflow depth.json --control Strength=0.6 --control Model=soft\n"
      "  quillmere render model.glb --turntable 96 --frames 0-95 --clip Walk --loop -o turn_####.png\n"
      "  quillmere render harbour.glb --prompt \"a storm\" --save-settings storm.json\n"
      "  quillmere render harbour.glb --settings storm.json --set QUILLMERE_CAMERA=Quayside --write-dir "
      "~/second-render\n"
      "  quillmere render --like render_0012.png --prompt \"the same at night\" --output night_####.png");
  command.get_help_ptr()->group("Options");
  return [options, &command] {
    complete(*options, command);
    return options->sequence.worker ? renderOrders(*options) : run(*options, command);
  };
}

}  // namespace quillmere::app
