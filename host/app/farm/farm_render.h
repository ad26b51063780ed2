#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "values/frames.h"

namespace quillmere::app {

// An argument of `quillmere render`: "--size", "1920x1080". The scene has no option, a flag no value.
struct RenderArgument {
  enum class Kind { Text, Flag, File } kind = Kind::Text;  // File: one that the render reads, by its full path
  std::string option, value;
};

// The render that every task of a job calls for its share of the frames.
struct FarmRender {
  std::string name;                       // of the job, as people see it in a queue
  std::vector<RenderArgument> arguments;  // but for frames, output, and what is each task's own
  FrameSet frames;
  std::filesystem::path output;  // pattern of the frames' files, absolute
};

}  // namespace quillmere::app
