#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "base/json.h"
#include "effect/parameter.h"
#include "farm_render.h"

// A render as a job template of Open Job Description, version jobtemplate-2023-09, which engines of several makers run
// unchanged: https://github.com/OpenJobDescription/openjd-specifications. It is written as JSON.
namespace quillmere::app {

// A field of the effect's panel with its value as `--set` takes it.
struct PanelField {
  Parameter parameter;
  std::string value;
};

struct OpenJdJob {
  FarmRender render;                 // files that lie in the job's folder are named from there
  std::filesystem::path folder;      // absolute; travels with the job
  std::vector<PanelField> fields;    // of the effect, from the top; those that no form can hold are left out
  std::vector<std::string> cameras;  // to choose from; none where the arguments say through what is looked
  std::string camera;                // of these
  PictureSize size;
  FrameRate rate;
  std::int64_t framesPerTask = 1;  // more need the extension TASK_CHUNKING
};

inline constexpr const char* kOpenJdTemplate = "template.json";

// The template. What people may change are parameters; the rest stands in the arguments of the command, which each task
// starts as `quillmere`.
Json openJdTemplate(const OpenJdJob& job);

}  // namespace quillmere::app
