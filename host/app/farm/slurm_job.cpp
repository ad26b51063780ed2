#include "slurm_job.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "base/atomic_file.h"
#include "base/utf8.h"
#include "process/child_run.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kFramesPerTask = 8;
constexpr std::chrono::minutes kPatience{2};  // a controller that is busy answers within its MessageTimeout, 10 s
constexpr const char* kScript = "render.sh";
constexpr const char* kFrames = "frames.txt";
constexpr const char* kLogs = "logs";

// Logins would stand in the engine's own files, with the rest of the environment that it hands on.
constexpr const char* kLogins[] = {"QUILLMERE_COMFYUI_TOKEN", "QUILLMERE_COMFYUI_AUTH", "QUILLMERE_A1111_TOKEN",
                                   "QUILLMERE_A1111_AUTH"};

// The parts of the script that are the same for every job.
constexpr const char* kAbout =
    R"(# Renders the frames of line SLURM_ARRAY_TASK_ID, from 0, of the list. Frames go to their place whole, under a hidden
# name and renamed, so that this may be killed, started again, and started twice.
)";
constexpr const char* kBeginning = R"(
frames=$(sed -n "$((SLURM_ARRAY_TASK_ID + 1))p" "$list")
[ -n "$frames" ] || { echo "no frames for task $SLURM_ARRAY_TASK_ID in $list" >&2; exit 1; }
# On the node's own disk, and this task's own: an earlier start of it that was killed here has left its files.
own=${SLURM_TMPDIR:-${TMPDIR:-/tmp}}/quillmere-$SLURM_ARRAY_JOB_ID-$SLURM_ARRAY_TASK_ID
rm -rf "$own"
mkdir -m 700 "$own" || exit 1
trap : TERM  # the render gets it, too, and ends in order
echo "$(date +%FT%T) $(hostname) start ${SLURM_RESTART_COUNT:-0}: frames $frames"
)";
constexpr const char* kEnd = R"(status=$?
rm -rf "$own"
echo "$(date +%FT%T) end after $SECONDS s, status $status"
exit $status
)";

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char letter : text) quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
  return quoted + "'";
}

// The name of a file as sbatch reads it in a line of the script: quoted, and with '%' for what it fills in.
std::string batchQuoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char letter : text) quoted += letter == '%' ? "%%" : std::string(1, letter);
  return quoted + "\"";
}

// A word that no line of the script can be broken with.
std::string batchWord(const std::string& text) {
  std::string word;
  for (const char letter : text) {
    const bool plain =
        std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '-' || letter == '_' || letter == '.';
    word += plain ? letter : '_';
  }
  return word;
}

std::string directives(const SlurmJob& job) {
  const std::string atATime = job.atATime > 0 ? "%" + std::to_string(job.atATime) : "";
  std::string lines;
  for (const std::string& option :
       {"--job-name=" + batchWord(job.render.name), "--array=0-" + std::to_string(job.tasks - 1) + atATime,
        std::string("--nodes=1"), std::string("--ntasks=1"), std::string("--requeue"),
        std::string("--open-mode=append"),
        "--output=" + batchQuoted((job.folder / kLogs).string() + "/") + "%A_%a.log"}) {
    lines += "#SBATCH " + option + "\n";
  }
  return lines;
}

std::string wordsOf(const RenderArgument& argument) {
  if (argument.kind == RenderArgument::Kind::Flag) return argument.option;
  if (argument.option.empty()) return shellQuoted(argument.value);
  return argument.option + "=" + shellQuoted(argument.value);
}

std::string call(const SlurmJob& job) {
  std::string lines = shellQuoted(job.program) + " render";
  for (const RenderArgument& argument : job.render.arguments) lines += " \\\n  " + wordsOf(argument);
  const auto& given = job.render.arguments;
  const bool sized = std::ranges::any_of(given, [](const RenderArgument& one) { return one.option == "--jobs"; });
  if (!sized) lines += " \\\n  --jobs=\"${SLURM_CPUS_PER_TASK:-1}\"";  // the cores that Slurm counts, not the node's
  lines += " \\\n  --resume --log=\"$job/logs/${SLURM_ARRAY_JOB_ID}_$SLURM_ARRAY_TASK_ID.frames.log\"";
  return lines + " \\\n  --output=" + shellQuoted(job.render.output.string()) +
         " \\\n  --frames=\"$frames\" --write-dir=\"$own\"\n";
}

// A name with these would end a line or a quoted text of the script.
void refuseOddFolder(const fs::path& folder) {
  const std::string name = folder.string();
  const bool odd = std::any_of(name.begin(), name.end(), [](char letter) {
    return letter == '"' || letter == '\\' || static_cast<unsigned char>(letter) < ' ';
  });
  if (!odd) return;
  throw Failure(ExitStatus::Usage, "-o '" + printable(name) + "'", "Slurm takes no such name of a folder",
                "give one without quotes, backslashes and line breaks");
}

std::string framesByTask(const SlurmJob& job) {
  std::string lines;
  for (std::int64_t task = 0; task < job.tasks; ++task) lines += job.render.frames.share(task, job.tasks).text() + "\n";
  return lines;
}

[[noreturn]] void refuseUnsubmitted(const ChildResult& result, const fs::path& script) {
  if (result.end == ChildResult::End::NotStarted) {
    throw Failure(ExitStatus::Failed, "sbatch", "cannot be started: " + result.errors,
                  "submit where Slurm's commands are, or hand '" + script.string() + "' to sbatch there");
  }
  const std::string said =
      result.end == ChildResult::End::TimedOut ? "no answer in two minutes" : printable(result.errors);
  throw Failure(ExitStatus::Failed, "sbatch", said,
                "the job lies in '" + script.parent_path().string() + "': sbatch '" + script.string() + "' submits it");
}

}  // namespace

std::int64_t tasksFor(std::int64_t frames) {
  return std::clamp<std::int64_t>((frames + kFramesPerTask - 1) / kFramesPerTask, 1, kMostTasks);
}

std::string slurmScript(const SlurmJob& job) {
  refuseOddFolder(job.folder);
  return "#!/bin/bash\n" + directives(job) + kAbout + "job=" + shellQuoted(job.folder.string()) + "\n" +
         "list=" + shellQuoted((job.folder / kFrames).string()) + "\n" + kBeginning + call(job) + kEnd;
}

void writeSlurmJob(const SlurmJob& job) {
  std::error_code error;
  fs::create_directories(job.folder / kLogs, error);
  if (error) {
    throw Failure(ExitStatus::Failed, "job folder '" + job.folder.string() + "'", error.message(),
                  "give -o a folder that you may write to and that the nodes see");
  }
  writeFile(job.folder / kFrames, framesByTask(job));
  writeFile(job.folder / kScript, slurmScript(job));
  fs::permissions(job.folder / kScript, fs::perms::owner_exec, fs::perm_options::add, error);
}

std::string submitSlurmJob(const SlurmJob& job, const std::vector<std::string>& options) {
  const fs::path script = job.folder / kScript;
  std::vector<std::string> command{"sbatch", "--parsable"};
  command.insert(command.end(), options.begin(), options.end());
  command.push_back(script.string());
  for (const char* login : kLogins) ::unsetenv(login);
  const ChildResult result = runChild(command, {kPatience});
  if (result.end != ChildResult::End::Exited || result.status != 0) refuseUnsubmitted(result, script);
  return result.output.substr(0, result.output.find_first_of(";\n"));  // "12" or, of several clusters, "12;north"
}

}  // namespace quillmere::app
