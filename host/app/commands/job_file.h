#pragma once

#include <filesystem>
#include <string>

#include "base/json.h"

namespace CLI {
class App;
}

// A whole render in one file: the scene, options of the command line by their names, and the settings.
//
//   {"format": "quillmere job", "version": 1, "scene": "harbour.glb",
//    "options": {"camera": ["Quayside"], "frames": "1-48", "size": "1920x1080", "loop": true, …},
//    "parameters": {…}, "drawing": {…}, "controls": {…}}
//
// The last three are those of a settings file, and it can be given as one. Paths are taken from the folder of the job.
namespace quillmere::app {

// Whether `file` is such a job. A damaged one, and anything else, is taken for a scene, whose reader says what it is.
bool isJob(const std::filesystem::path& file);

// Gives the parsed `command` the options of the job that its command line leaves open: those that exclude one of its
// own are passed over. Returns the scene's path. Throws Failure for a job that is damaged, of another version, or holds
// what the command line would not take.
std::string takeJob(const std::filesystem::path& file, CLI::App& command);

// The job, replaced at once or not at all. `options` is as above, `settings` as settingsOf has it. Throws Error.
void saveJob(const std::filesystem::path& file, const std::string& scene, const Json& options, const Json& settings);

}  // namespace quillmere::app
