#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "farm_render.h"

// A render as one array job of Slurm. The folder of the job lies where all nodes see it:
//
//   render.sh    what sbatch is given; submits the same job again when it is given once more
//   frames.txt   a line for each task: its frames
//   logs/        what each task says, <job>_<task>.log
namespace quillmere::app {

struct SlurmJob {
  std::filesystem::path folder;  // absolute
  std::string program;           // the command `quillmere` as the nodes find it
  FarmRender render;
  std::int64_t tasks = 1;  // 1 to kMostTasks and to the number of frames
  int atATime = 0;         // tasks that run at the same time; 0: as many as there is room for
};

inline constexpr std::int64_t kMostTasks = 1000;  // an array has no more unless its site has set MaxArraySize

// A task for every few frames, so that the start of the program costs little beside them.
std::int64_t tasksFor(std::int64_t frames);

// The batch script. Throws Failure (usage) for a folder whose name no script can hold.
std::string slurmScript(const SlurmJob& job);

// Makes the folder's files. Throws Error.
void writeSlurmJob(const SlurmJob& job);

// Gives the job's script to sbatch, with options of its own behind ours, and returns the job's number. Takes the
// servers' logins out of this process' environment: set only while no other thread reads it. Throws Failure: no sbatch,
// or what it says.
std::string submitSlurmJob(const SlurmJob& job, const std::vector<std::string>& options);

}  // namespace quillmere::app
