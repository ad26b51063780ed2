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
#include "job_file.h"
#include "like_option.h"
#include "options.h"
#include "pass_options.h"
#include "passes/depth_range.h"
#include "passes/pass_order.h"
#include "process/process_tree.h"
#include "process/runtime_lock.h"
#include "process/user_break.h"
#include "record/picture_record.h"
#include "render_help.h"
#include "render_options.h"
#include "report/output.h"
#include "report/report_style.h"
#include "scene/fingerprint.h"
#include "sequence/in_turn.h"
#include "sequence_run.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

ReportStyle styleOf(const RenderOptions& options) {
  if (options.openJd) return ReportStyle::OpenJd;
  return options.json ? ReportStyle::Json : options.quiet ? ReportStyle::Quiet : ReportStyle::Lines;
}

// Of all frames through all cameras that the options name.
OutputPattern outputOf(const RenderOptions& options) {
  OutputPattern output = OutputPattern::parse(options.output);
  if (options.scene.cameras.size() > 1) output = output.namingCameras();
  return options.frames.count() > 1 ? output.numberingFrames() : output;
}

FramePlan planOf(const RenderOptions& options, const fs::path& writeDirectory) {
  return {options.scene.clock, outputOf(options), options.scene.size, writeDirectory, options.exr, {}};
}

SequencePlan sequenceOf(const RenderOptions& options, const std::vector<std::string>& cameras) {
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

Configured configure(EffectSession& session, const RenderOptions& options, const OpenedScene& opened) {
  host::Document& document = session.document();
  document.setFps(options.scene.clock.rate.whole());
  document.setSize(options.scene.size.width, options.scene.size.height);
  applyTo(document, options.drawing);
  const NodeSetUp made =
      setUpNode(session.node(), document, options.effect, opened.cameras.empty() ? "" : opened.cameras.front());
  if (made.workflow == WorkflowGiven::No &&
      preferWorkflow(session.node(), session.plugin()) == Preferred::ReplacedByExample && !options.quiet &&
      !options.sequence.worker) {
    printError("the workflow catalog is empty: rendering with the example workflow '" +
               session.plugin().exampleWorkflow().string() + "'");
  }
  if (session.node().text(QUILLMERE_WORKFLOW_PATH).empty() && !options.quiet) {
    printError("no workflow is chosen: the frames are the host's own plain drawings");
  }
  if (!options.saveSettings.empty()) {
    saveSettings(session.node(), made.controls, options.drawing, options.saveSettings);
  }
  return {session.node().text(QUILLMERE_WORKFLOW_PATH), settingsOf(session.node(), made.controls, options.drawing),
          made.controls};
}

void tellOf(const OpenedScene& opened) {
  printWarnings(opened.scene->warnings());
  for (const std::string& note : opened.notes) printError(note);
}

// What a picture's record keeps of how the scene is shown.
Json shownAs(const OpenedScene& opened, const RenderOptions& options) {
  Json facts = opened.facts;
  facts["drawing"] = jsonOf(options.drawing);
  if (!options.seed.empty()) facts["seed_rule"] = options.seed;
  return facts;
}

std::vector<std::string> camerasOf(EffectSession& session, const OpenedScene& opened) {
  return opened.cameras.empty() ? std::vector{cameraOf(session)} : opened.cameras;
}

RenderPlan tellable(const RenderOptions& options, const SequencePlan& plan, const OpenedScene& opened,
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

// The passes of each camera, with one range of depths for all its frames where the workflow asks for depth.
std::map<std::string, Json> passesOf(const PassWish& wish, const std::vector<std::string>& cameras,
                                     const RenderOptions& options, const OpenedScene& opened) {
  const SceneNames names(*opened.scene);
  for (const std::string& matte : wish.mattes) matteCalled(matte, names);
  std::map<std::string, Json> orders;
  for (const std::string& camera : cameras) {
    PassOrder order{wish, options.passes};
    if (!order.settings.range && wish.passes.has(render::Pass::Depth)) {
      const std::vector<double> seconds = posesOf(options.frames, options.scene.clock);
      order.settings.range =
          depthRangeOf(opened.scene, camera, {seconds, options.scene.size, sidesOf(options.drawing)});
    }
    orders[camera] = jsonOf(order);
  }
  return orders;
}

// What makes the pictures; `scene` is the content of its files, taken before they were loaded.
RenderInputs inputsGiven(const RenderOptions& options, const std::string& scene, const OpenedScene& opened,
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

void saveJobOf(const RenderOptions& options, const OpenedScene& opened, const Configured& configured) {
  if (options.saveJob.empty()) return;
  const std::string scene = fs::absolute(options.scene.scene).lexically_normal().string();
  saveJob(options.saveJob, scene, jobOptions(options, opened), configured.settings);
}

// Neither frames nor exchange files are written, so that it may be asked while another render runs.
ExitStatus describe(const RenderOptions& options, ToldOnce& report) {
  const fs::path writeDirectory = writeDirectoryOf(options.session);
  const OpenedScene opened = openScene(options.scene, options.frames);
  EffectSession session(writeDirectory, pluginFolder(options.session.plugin), report, opened.scene,
                        options.scene.scene);
  if (!options.quiet) tellOf(opened);
  const Configured configured = configure(session, options, opened);
  const SequencePlan sequence = sequenceOf(options, camerasOf(session, opened));
  refuseSharedFiles(sequence.cameras, sequence.output);
  const RenderPlan plan = tellable(options, sequence, opened, configured);
  report.renderBegins(plan);
  saveJobOf(options, opened, configured);
  if (styleOf(options) == ReportStyle::Lines) {
    printError("would render " + std::to_string(plan.count) + (plan.count == 1 ? " picture as '" : " pictures as '") +
               plan.output + "'");
  }
  return ExitStatus::Done;
}

// `shared` is what stands behind `report`.
ExitStatus render(const RenderOptions& options, const CLI::App& command, Report& shared, ToldOnce& report,
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
  const Configured configured = configure(session, options, opened);
  setControls(session.node(), configured.controls, runtimeFolder(writeDirectory));
  const SequencePlan sequence = sequenceOf(options, camerasOf(session, opened));
  report.renderBegins(tellable(options, sequence, opened, configured));
  saveJobOf(options, opened, configured);
  const auto stop = [&] { return userBreak.seen() || report.outputLost(); };
  refuseSharedFiles(sequence.cameras, plan.output);
  for (const std::string& camera : sequence.cameras) requireOutput(plan.output.forCamera(camera), sequence.frames);
  const WorkflowCheck check = lookAtWorkflow(session, configured.workflow, stop);
  if (!options.sequence.resume) requireRunnable(check);  // else there may be nothing left to render
  if (options.style) tellStyle(*options.style);
  if (!options.seed.empty()) tellSeedRule(options.seed);
  if (report.wantsPreviews()) askForPreviews();
  const SequenceRun run{session,
                        plan,
                        sequence,
                        options.sequence,
                        command,
                        inputsGiven(options, content, opened, configured, plan),
                        passesOf(wishIn(check.answer), sequence.cameras, options, opened),
                        *opened.scene,
                        options.scene.scene,
                        shownAs(opened, options),
                        {textAt(check.answer, "backend"), countAt(check.answer, "servers")},
                        [&check] { requireRunnable(check); },
                        shared,
                        options.json ? ToldOnce::Reader::Program : ToldOnce::Reader::Person};
  const ExitStatus status = renderSequence(run, report, logged, log, stop);
  if (userBreak.seen()) return ExitStatus::Broken;
  if (!report.outputLost()) return status;
  throw Failure(ExitStatus::Failed, "standard output", "cannot be written any more; the render was stopped");
}

// For another process, which has looked at everything and tells what to render on standard input.
ExitStatus renderOrders(const RenderOptions& options) {
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
  const Configured configured = configure(session, options, opened);
  setControls(session.node(), configured.controls, runtimeFolder(writeDirectory));
  HelperOutput output;
  FrameLoop loop(session, *opened.scene, plan, report);
  const auto stop = [&] { return userBreak.seen() || results.lost() || orders.ended(); };
  const auto here = [&loop](const Shot& shot, const auto& end) { return loop.render(shot, end); };
  return serve(orders, writeDirectory, listening(here, output, worker), worker, stop);
}

ExitStatus run(const RenderOptions& options, const CLI::App& command) {
  const OwnStandardOutput own;
  Output results(own.descriptor()), errors(STDERR_FILENO);
  const auto styled = makeReport(styleOf(options), results, errors);
  ToldOnce report(*styled, options.json ? ToldOnce::Reader::Program : ToldOnce::Reader::Person);
  const UserBreak userBreak([&report] { report.silence(); });
  adoptOrphans();
  try {
    const ExitStatus status =
        options.dryRun ? describe(options, report) : render(options, command, *styled, report, userBreak);
    report.renderEnds({status, {}, {}});
    return status;
  } catch (const std::exception& error) {
    report.renderEnds(endingOf(error));
    throw;
  }
}

}  // namespace

Action addRender(CLI::App& command) {
  const auto options = std::make_shared<RenderOptions>();
  addRenderOptions(command, *options);
  return [options, &command] {
    complete(*options, command);
    return options->sequence.worker ? renderOrders(*options) : run(*options, command);
  };
}

}  // namespace quillmere::app
