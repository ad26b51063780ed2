#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "options.h"
#include "values/frames.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// Adds --like, whose file goes to `picture`, and lets SCENE be left out with it.
void addLike(CLI::App& command, std::string& picture);

// What a render is told that --like fills in, where the command line leaves it open.
struct LikeTarget {
  SceneOptions& scene;
  FrameSet& frames;
  EffectOptions& effect;
  DrawingOptions& drawing;
  std::optional<std::string>& style;  // empty: no style image
};

// Takes over how `picture` was made, but for what was written on the parsed `command`. Returns the seed to render with,
// none for a picture that was made without one and for a control of that name on the command line. Throws Failure when
// the picture doesn't tell, or its scene, workflow or style image is gone.
std::optional<std::uint64_t> renderLike(const std::string& picture, const CLI::App& command, LikeTarget options);

}  // namespace quillmere::app
