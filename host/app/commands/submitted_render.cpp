#include "submitted_render.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "base/atomic_file.h"
#include "base/file_reading.h"
#include "doctor/helper_check.h"
#include "effect/controls.h"
#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "passes/depth_range.h"
#include "passes/pass_wish.h"
#include "report/output.h"
#include "values/failure.h"
#include "values/output_pattern.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using Kind = RenderArgument::Kind;

constexpr std::size_t kLargestSettings = 8U << 20U;  // bytes, as a settings file may have
constexpr int kDeepestSettings = 8;
constexpr const char* kSettings = "--settings";
constexpr const char* kWorkflow = "--workflow";
constexpr const char* kView = "--view";
constexpr const char* kControl = "--control";
constexpr const char* kDepthRange = "--depth-range";
constexpr std::chrono::seconds kPatience{30};  // for the helper, which may ask a server

std::string nameOf(const CLI::Option& option) {
  return option.get_positional() ? "" : "--" + option.get_lnames().front();
}

bool isAmong(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// What was given, in its order.
std::vector<RenderArgument> givenArguments(const CLI::App& command, const std::vector<std::string>& others) {
  std::vector<RenderArgument> given;
  std::map<const CLI::Option*, std::size_t> seen;
  for (const CLI::Option* option : command.parse_order()) {
    const std::string value = option->results().at(seen[option]++);
    const std::string name = option->get_positional() ? option->get_name(true) : nameOf(*option);
    const bool flag = option->get_items_expected_max() == 0 && value == "true";
    if (!isAmong(others, name)) given.push_back({flag ? Kind::Flag : Kind::Text, nameOf(*option), flag ? "" : value});
  }
  return given;
}

// The options that decide what is drawn, apart from those that a render alone has.
struct Options {
  SceneOptions& scene;
  EffectOptions& effect;
  DrawingOptions& drawing;
  SessionOptions& session;
};

void addEffectAndDrawing(CLI::App& command, const Options& options) {
  addEffectOptions(command, options.effect);
  addDrawingOptions(command, options.drawing);
}

// Takes those of `given` that are such options.
void read(const std::vector<RenderArgument>& given, const Options& options) {
  CLI::App reader;
  addSceneOptions(reader, options.scene);
  addEffectAndDrawing(reader, options);
  addSessionOptions(reader, options.session);
  std::vector<std::string> words;  // the last one first, as the parser has them
  for (const auto& [kind, option, value] : given) {
    if (!option.empty() && reader.get_option_no_throw(option) == nullptr) continue;
    const bool whole = !option.empty() && !value.empty();
    std::string word = option.empty() ? value : option;
    if (whole) word.append("=").append(value);
    words.insert(words.begin(), word);
    if (kind != Kind::Flag && !option.empty() && value.empty()) words.insert(words.begin(), value);
  }
  reader.parse(words);
}

// Names of the options whose values a settings file holds.
std::vector<std::string> optionsInSettings() {
  SceneOptions scene;
  EffectOptions effect;
  DrawingOptions drawing;
  SessionOptions session;
  CLI::App reader;
  addEffectAndDrawing(reader, {scene, effect, drawing, session});
  std::vector<std::string> names{kControl};
  for (const CLI::Option* option : reader.get_options()) names.push_back(nameOf(*option));
  return names;
}

std::string givenFor(const std::vector<RenderArgument>& given, const std::string& option,
                     const std::string& otherwise) {
  std::string value = otherwise;
  for (const RenderArgument& argument : given) {
    if (argument.option == option) value = argument.value;
  }
  return value;
}

// Each task renders some of the frames, and so doesn't know that there are more than one.
fs::path numberedOutput(const std::string& pattern, const FrameSet& frames) {
  if (frames.count() > 1 && !OutputPattern::parse(pattern).numbersFrames()) {
    throw Failure(ExitStatus::Usage, "--output '" + pattern + "'", "all frames would go into one file",
                  "put #### where the frame's number belongs");
  }
  return fs::absolute(pattern).lexically_normal();
}

// Paths that hold wherever a task runs.
void settlePaths(std::vector<RenderArgument>& arguments) {
  for (RenderArgument& argument : arguments) {
    const bool file = argument.option.empty() || argument.option == "--style";
    if (argument.value.empty() || (!file && argument.option != "--plugin")) continue;
    argument.value = fs::absolute(argument.value).lexically_normal().string();
    if (file) argument.kind = Kind::File;
  }
}

std::string textOf(const Json& value) {
  return value.is_string() ? "\"" + value.get<std::string>() + "\"" : value.dump();
}

// As `--set` takes it.
std::string valueOf(const Parameter& parameter, const Json& shown) {
  for (const Parameter::Choice& choice : parameter.choices) {
    if (shown == choice.value) return choice.text;
  }
  return shown.is_string() ? shown.get<std::string>() : shown.dump();
}

// What a form can hold and a farm's task can be told: neither what the effect writes itself, nor what an argument says,
// nor folders of the task, nor what another field locks.
std::vector<PanelField> fieldsOf(const NodeParameters& node) {
  std::vector<PanelField> fields;
  for (const Parameter& parameter : node.panel()) {
    const bool other = parameter.kind == Parameter::Kind::ReadOnly || parameter.kind == Parameter::Kind::Camera ||
                       parameter.kind == Parameter::Kind::File || parameter.id == QUILLMERE_WORKFLOW ||
                       parameter.id == QUILLMERE_UNLOCK_SYSTEM_PROMPT;
    if (!other && node.editable(parameter)) fields.push_back({parameter, valueOf(parameter, node.shown(parameter))});
  }
  return fields;
}

}  // namespace

SubmittedRender::SubmittedRender(const CLI::App& command, const std::vector<std::string>& others) {
  const std::vector<RenderArgument> given = givenArguments(command, others);
  read(given, {sceneOptions_, effect_, drawing_, sessionOptions_});
  for (const RenderArgument& argument : given) {
    if (argument.option == kControl) readControl(argument.value, effect_.controls);
  }
  if (!effect_.settings.empty()) drawing_.complete(drawingIn(effect_.settings));
  frames_ = parseFrameSet(givenFor(given, "--frames", "0"));
  output_ = numberedOutput(givenFor(given, "--output", command.get_option("--output")->get_default_str()), frames_);
  std::vector<std::string> taken = optionsInSettings();
  taken.insert(taken.end(), {"--frames", "--output"});
  arguments_ = given;
  arguments_ = without(taken);
  settlePaths(arguments_);
  openScene();
  setUpEffect();
}

std::vector<RenderArgument> SubmittedRender::without(const std::vector<std::string>& options) const {
  std::vector<RenderArgument> left;
  for (const RenderArgument& argument : arguments_) {
    if (!isAmong(options, argument.option)) left.push_back(argument);
  }
  return left;
}

// Where the host's own camera stands follows from all frames: each task would see its own.
void SubmittedRender::openScene() {
  opened_ = app::openScene(sceneOptions_, frames_);
  printWarnings(opened_.scene->warnings());
  const Json view = opened_.facts.value("view", Json());
  if (!view.is_string()) return;
  arguments_ = without({kView});
  arguments_.push_back({Kind::Text, kView, view});
}

void SubmittedRender::setUpEffect() {
  session_ = std::make_unique<EffectSession>(writeDirectoryOf(sessionOptions_), pluginFolder(sessionOptions_.plugin),
                                             nobody_, opened_.scene, sceneOptions_.scene);
  NodeParameters& node = session_->node();
  const std::string camera = opened_.cameras.empty() ? "" : opened_.cameras.front();
  const NodeSetUp made = setUpNode(node, session_->document(), effect_, camera);
  if (made.workflow == WorkflowGiven::No) preferWorkflow(node, session_->plugin());
  controls_ = made.controls;
  const std::string workflow = node.text(QUILLMERE_WORKFLOW_PATH);
  std::error_code error;
  if (!workflow.empty() && !fs::is_regular_file(workflow, error)) {
    throw Failure(ExitStatus::Failed, "workflow '" + workflow + "'", "its file is not there",
                  "give another with --workflow");
  }
  workflow_ = workflow.empty() ? "" : fs::absolute(workflow);
  fixDepths();
}

// The depths of the nearest and the farthest that is seen follow from all frames, too.
void SubmittedRender::fixDepths() {
  const bool given =
      std::ranges::any_of(arguments_, [](const RenderArgument& argument) { return argument.option == kDepthRange; });
  if (given || workflow_.empty()) return;
  const WorkflowCheck check = checkWorkflow(session_->plugin(), "workflow", workflow_, kPatience);
  if (!wishIn(check.answer).passes.has(render::Pass::Depth)) return;
  std::vector<std::string> cameras = opened_.cameras;
  if (cameras.empty()) cameras.push_back(session_->document().cameras().front().name);
  const std::vector<double> seconds = posesOf(frames_, sceneOptions_.clock);
  render::DepthRange all{};
  for (const std::string& camera : cameras) {
    const render::DepthRange range =
        depthRangeOf(opened_.scene, camera, {seconds, sceneOptions_.size, sidesOf(drawing_)});
    const bool first = camera == cameras.front();
    all = {first ? range.near : std::min(all.near, range.near), first ? range.far : std::max(all.far, range.far)};
  }
  arguments_.push_back({Kind::Text, kDepthRange, textOf(all)});
}

void SubmittedRender::bundleInto(Bundle& bundle) {
  for (RenderArgument& argument : arguments_) {
    if (argument.kind != Kind::File) continue;
    argument.value = (argument.option.empty() ? bundle.addScene(argument.value) : bundle.add(argument.value)).string();
  }
  if (!workflow_.empty()) workflow_ = bundle.addWorkflow(workflow_);
  std::error_code error;
  if (drawing_.background && fs::is_regular_file(*drawing_.background, error)) {
    drawing_.background = bundle.add(*drawing_.background).string();
  }
}

// The catalog is this machine's: the workflow goes by its file. So is the folder of the generated pictures, unless it
// was chosen: each task has its own.
void SubmittedRender::saveSettingsTo(const fs::path& file) {
  NodeParameters& node = session_->node();
  chooseWorkflow(node, workflow_.empty() ? "None" : workflow_.string());
  saveSettings(node, controls_, drawing_, file);
  const Json stored = node.stored(QUILLMERE_OUTPUT_DIRECTORY);
  const fs::path pictures = stored.is_string() ? stored.get<std::string>() : "";
  const fs::path within = pictures.lexically_relative(writeDirectoryOf(sessionOptions_));
  if (within.empty() || *within.begin() == "..") return;
  Json settings = parsedJson(readText(file, kLargestSettings), kDeepestSettings);
  settings["parameters"].erase(node.find(QUILLMERE_OUTPUT_DIRECTORY).name);
  writeFile(file, settings.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

FarmRender SubmittedRender::asArguments(const fs::path& settings) const {
  FarmRender render{sceneName(), arguments_, frames_, output_};
  render.arguments.push_back({Kind::File, kSettings, settings.string()});
  return render;
}

OpenJdJob SubmittedRender::asOpenJdJob(const fs::path& settings) const {
  OpenJdJob job{asArguments(settings), settings.parent_path(),  fieldsOf(session_->node()), {}, {},
                sceneOptions_.size,    sceneOptions_.clock.rate};
  const auto is = [](const char* option) {
    return [option](const RenderArgument& argument) { return argument.option == option; };
  };
  auto& arguments = job.render.arguments;
  for (const char* option : {"--size", "--fps"}) std::erase_if(arguments, is(option));
  if (!workflow_.empty()) arguments.push_back({Kind::File, kWorkflow, workflow_.string()});
  for (const auto& control : controls_.items()) {
    arguments.push_back({Kind::Text, kControl, control.key() + "=" + textOf(control.value())});
  }
  if (sceneOptions_.ownCamera() || opened_.facts.contains("view") || opened_.cameras.size() > 1) return job;
  std::erase_if(arguments, is("--camera"));
  for (const auto& camera : opened_.scene->cameras()) job.cameras.push_back(camera.name);
  job.camera = opened_.cameras.empty() ? job.cameras.front() : opened_.cameras.front();
  return job;
}

std::string SubmittedRender::sceneName() const {
  return fs::path(sceneOptions_.scene).stem().string();
}

}  // namespace quillmere::app
