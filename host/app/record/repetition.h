#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "effect/drawing_options.h"
#include "effect/parameter.h"
#include "values/frames.h"

namespace quillmere::app {

// A render like that of a picture, as far as its record tells.
struct Repetition {
  std::optional<std::string> scene, camera, workflow, style;  // a path, a name, a path, a path or empty
  std::optional<std::string> clip, view;                      // a name; what --view takes
  std::optional<std::int32_t> frame, turntable;
  std::optional<FrameRate> rate;
  std::optional<double> time;
  bool loop = false;
  std::optional<PictureSize> size;
  struct Seed {
    std::optional<std::uint64_t> value;  // none: it was made without a seed
  };
  std::optional<Seed> seed;
  DrawingOptions drawing;
  std::vector<Assignment> assignments;  // of the prompts and the guide mode
  Json controls = Json::object();       // of the workflow
};

// `picture` is for messages. Throws Failure for a value that no render can have had.
Repetition repetitionOf(const Json& record, const std::filesystem::path& picture);

// Whether the workflow file `now` holds something else than the record's, apart from the controls that the render has
// set, as far as that can be told.
bool workflowChanged(const Json& record, const std::filesystem::path& now);

}  // namespace quillmere::app
