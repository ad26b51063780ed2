#include <CLI/CLI.hpp>
#include <array>
#include <ctime>
#include <filesystem>
#include <memory>

#include "base/atomic_file.h"
#include "commands.h"
#include "farm/slurm_job.h"
#include "report/output.h"
#include "submitted_render.h"
#include "values/output_pattern.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct Options {
  Action render;  // owns the values of its options
  std::string engine, output = "render_####.png", folder;
  std::vector<std::string> engineOptions;
  std::int64_t tasks = 0;  // 0: the engine's own measure
  int atATime = 0;
  bool bundle = false, dryRun = false;
};

constexpr const char* kEngineOptions = "SBATCH";
constexpr const char* kSettingsFile = "settings.json";
constexpr const char* kCopies = "bundle";

// Of a render: what each task is told by its job, and what makes sense on one machine only.
constexpr std::array kOfTasks{"--output",   "--json",      "--quiet",  "--report", "--save-settings",
                              "--save-job", "--write-dir", "--like",   "--time",   "--resume",
                              "--log",      "--worker",    "--dry-run"};

// Not a render's.
const std::vector<std::string> kOwn{"--to",     "--job-folder", "--array-size", "--nodes",
                                    "--bundle", "--dry-run",    kEngineOptions};

std::string timeStamp() {
  const std::time_t now = std::time(nullptr);
  std::array<char, 32> text{};
  std::tm local{};
  ::localtime_r(&now, &local);
  return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &local)};
}

// Where the nodes see it as they see the output.
fs::path jobFolder(const Options& options, const fs::path& output) {
  if (!options.folder.empty()) return fs::absolute(options.folder + "/").lexically_normal().parent_path();
  return OutputPattern::parse(output.string()).folder() / ("job-" + timeStamp());
}

// A job that is under way reads its folder.
void refuseTaken(const fs::path& folder) {
  std::error_code error;
  if (!fs::exists(folder, error) || (fs::is_directory(folder, error) && fs::is_empty(folder, error))) return;
  throw Failure(ExitStatus::Usage, "-o '" + folder.string() + "'", "something lies there already",
                "give a new folder for the job with -o; the frames' files go where --output says");
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (!error) return;
  throw Failure(ExitStatus::Failed, "job folder '" + folder.string() + "'", error.message(),
                "give a folder with -o that you may write to");
}

// Fills the job's folder with what its tasks read.
void prepare(SubmittedRender& render, const Options& options, const fs::path& folder) {
  refuseTaken(folder);
  makeFolder(folder);
  Bundle copies(folder / kCopies);
  if (options.bundle) render.bundleInto(copies);
  render.saveSettingsTo(folder / kSettingsFile);
}

ExitStatus submitToSlurm(SubmittedRender& render, const Options& options, const fs::path& folder) {
  const std::int64_t frames = render.frames().count();
  SlurmJob job{
      folder, fs::read_symlink("/proc/self/exe").string(), {}, std::min(options.tasks, frames), options.atATime};
  if (options.tasks == 0) job.tasks = tasksFor(frames);
  if (!options.dryRun) prepare(render, options, folder);
  job.render = render.asArguments(folder / kSettingsFile);
  if (options.dryRun) {
    printResult(slurmScript(job));
    return ExitStatus::Done;
  }
  writeSlurmJob(job);
  const std::string number = submitSlurmJob(job, options.engineOptions);
  printResult(number + "\n");
  printError("job " + number + ": " + std::to_string(frames) + " frames in " + std::to_string(job.tasks) +
             " tasks, in '" + folder.string() + "'\n  squeue -j " + number + " shows it, scancel " + number +
             " ends it; sbatch '" + (folder / "render.sh").string() + "' submits it again");
  return ExitStatus::Done;
}

ExitStatus makeOpenJdBundle(SubmittedRender& render, const Options& options, const fs::path& folder) {
  if (!options.dryRun) prepare(render, options, folder);
  OpenJdJob job = render.asOpenJdJob(folder / kSettingsFile);
  if (options.tasks > 0) job.framesPerTask = (render.frames().count() + options.tasks - 1) / options.tasks;
  const std::string text = openJdTemplate(job).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  if (options.dryRun) {
    printResult(text);
    return ExitStatus::Done;
  }
  writeFile(folder / kOpenJdTemplate, text);
  printResult((folder / kOpenJdTemplate).string() + "\n");
  return ExitStatus::Done;
}

ExitStatus run(const Options& options, const CLI::App& command) {
  const bool slurm = options.engine == "slurm";
  if (!slurm && (!options.engineOptions.empty() || options.atATime > 0)) {
    throw Failure(ExitStatus::Usage, "submit", "--nodes and options behind -- are Slurm's",
                  "leave them out for " + options.engine);
  }
  SubmittedRender render(command, kOwn);
  const fs::path folder = jobFolder(options, render.output());
  return slurm ? submitToSlurm(render, options, folder) : makeOpenJdBundle(render, options, folder);
}

void addOwnOptions(CLI::App& command, Options& options) {
  command.add_option("--to", options.engine, "The engine: slurm submits an array job, openjd writes a job template")
      ->required()
      ->check(CLI::IsMember({"slurm", "openjd"}))
      ->type_name("slurm|openjd");
  command
      .add_option("-o,--job-folder", options.folder,
                  "Folder of the job, new, where the nodes see it (default: beside the frames)")
      ->type_name("DIR");
  command
      .add_option("--array-size", options.tasks,
                  "Tasks that share the frames (default: for slurm one for every 8 frames, for openjd one\n"
                  "for each; fewer tasks than frames need the extension TASK_CHUNKING there)")
      ->check(CLI::Range(std::int64_t{1}, kMostTasks))
      ->type_name("N");
  command.add_option("--nodes", options.atATime, "Tasks that run at the same time at most, on as many nodes (slurm)")
      ->check(CLI::Range(1, 100000))
      ->type_name("N");
  command.add_flag("--bundle", options.bundle,
                   "Copy scene, workflow and pictures into the job's folder, and render these");
  command.add_flag("--dry-run", options.dryRun, "Print the script or the template, and do nothing");
  command
      .add_option(kEngineOptions, options.engineOptions, "Behind --: options of sbatch, which win over the script's")
      ->type_name("");
}

}  // namespace

Action addSubmit(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  options->render = addRender(command);
  command.get_option("SCENE")->required();
  for (const char* name : kOfTasks) {
    if (CLI::Option* option = command.get_option_no_throw(name)) command.remove_option(option);
  }
  command.add_option("--output", options->output, "File of each frame, as in render, where the nodes see it")
      ->capture_default_str()
      ->group("Output")
      ->type_name("PATTERN");
  addOwnOptions(command, *options);
  command.footer(
      "The other options are those of render. docs/farm.md tells what each node needs.\n"
      "Examples:\n"
      "  quillmere submit harbour.glb --frames 1-240 --output /shots/harbour_####.png --to slurm\n"
      "  quillmere submit harbour.glb --frames 1-240 --output /shots/a_####.exr --to slurm --array-size 20 -- -p "
      "night\n"
      "  quillmere submit harbour.glb --frames 1-240 --output /shots/a_####.png --to openjd --bundle -o job/");
  return [options, &command] { return run(*options, command); };
}

}  // namespace quillmere::app
