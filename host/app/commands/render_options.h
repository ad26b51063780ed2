#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "image/file_formats.h"
#include "options.h"
#include "passes/pass_settings.h"
#include "sequence_options.h"
#include "values/frame_set.h"

namespace quillmere::app {

// What `render` is told on its command line.
struct RenderOptions {
  SceneOptions scene;
  EffectOptions effect;
  DrawingOptions drawing;
  PassSettings passes;
  SessionOptions session;
  FrameSet frames;
  std::string output = "render_####.png", saveSettings, saveJob, like;
  std::string seed;  // the rule that --seed gives; empty: the workflow's
  std::optional<std::string> style;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
  std::optional<std::uint64_t> repeatedSeed;  // of the picture that --like repeats
  bool json = false, quiet = false, openJd = false, dryRun = false;
  SequenceOptions sequence;
};

void addRenderOptions(CLI::App& command, RenderOptions& options);
// --control, which is read into `controls`.
void addControls(CLI::App& command, Json& controls);

// Fills in what a job, --like and --time leave to be filled in. Throws Failure.
void complete(RenderOptions& options, CLI::App& command);

// What a job keeps of the command line, with its paths in full. A camera of the host's own is kept by its view, so that
// it stays where it is when other frames are rendered.
Json jobOptions(const RenderOptions& options, const OpenedScene& opened);

}  // namespace quillmere::app
