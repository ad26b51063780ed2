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
  // Whether a task that is started again keeps the frames that are whole already, and its log can be told a place: what
  // --resume and --log do.
  bool resumes = false;
};

}  // namespace quillmere::app
