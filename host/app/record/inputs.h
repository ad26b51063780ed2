#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "effect/drawing_options.h"
#include "effect/effect_session.h"
#include "image/file_formats.h"
#include "values/frames.h"
#include "values/output_pattern.h"

// All that makes a sequence's frames the pictures that they are, a value for each by its name in the command line's
// words, files by the hash of their content. It is kept in the record of each picture ("inputs"), so that a later
// render sees whether it would make the same one.
namespace quillmere::app {

// What the effect's node doesn't tell.
struct RenderInputs {
  std::filesystem::path writeDirectory;  // whose viewers may have locked a style
  std::string scene;                     // scene::fingerprint, taken before it was loaded
  Json shown = Json::object();           // OpenedScene::facts
  DrawingOptions drawing;
  std::filesystem::path workflow;  // the file itself, also where controls stand for it; empty without one
  Json controls = Json::object();
  PictureSize size;
  FileFormat format = FileFormat::Png8;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
};

// Of the frames that are rendered from now on, through the camera that the effect's node has. What others may change
// meanwhile, the workflow and the style image, is read anew.
Json inputsOf(EffectSession& session, const RenderInputs& given);

// The names of those that differ, or that only one of them has, in the order of `now`. `made` may be anything.
std::vector<std::string> changedInputs(const Json& made, const Json& now);

// Whether a frame's file can stay as it is.
struct Keeping {
  enum class State { Kept, Missing, Changed } state = State::Missing;
  std::string why;  // of Changed: "its prompt has changed", "it is damaged: …"
};

// Kept when `file` can be read to its end, has this size, and its record says that this frame was made of these inputs.
Keeping keepingOf(const std::filesystem::path& file, std::int32_t frame, PictureSize size, const Json& inputs);

}  // namespace quillmere::app
