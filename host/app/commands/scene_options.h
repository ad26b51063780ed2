#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "scene/view_camera.h"
#include "values/frames.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// Which scene is looked at, when, through what and how large.
struct SceneOptions {
  std::string scene;
  std::vector<std::string> cameras;  // names or numbers from 1; none: the scene's first, or the host's own
  FrameClock clock;
  PictureSize size;
  std::string clip;                 // a name or a number from 1; empty: the first
  bool loop = false;                // the clips begin anew after their end
  std::optional<scene::View> view;  // through a camera of the host's own
  int turntable = 0;                // frames of a full turn of that camera; 0: it stands still

  bool ownCamera() const { return view || turntable > 0; }
};

// The scene's file alone.
void addSceneFile(CLI::App& command, std::string& scene);
// --clip and --loop.
void addClipOptions(CLI::App& command, SceneOptions& options);
// --fps.
void addFrameRate(CLI::App& command, SceneOptions& options);
// All of them, but for the frames; --time goes without the option `frames` of the same command.
void addSceneOptions(CLI::App& command, SceneOptions& options);
void addTime(CLI::App& command, SceneOptions& options, const std::string& frames);

// Reads "AZIMUTH,ELEVATION[,DISTANCE[,X,Y,Z]]". Throws Failure (usage).
scene::View parseView(const std::string& text);
// The same text again: read back it is the same view.
std::string textOf(const scene::View& view);

// A scene as the options ask for it. Moving JSON throws nothing, whatever its checks look like.
// NOLINTNEXTLINE(bugprone-exception-escape)
struct OpenedScene {
  std::shared_ptr<const scene::Scene> scene;
  std::vector<std::string> cameras;  // to look through: names; none where the options say nothing
  std::vector<std::string> notes;    // what the user may not expect of it, a line each
  Json facts;                        // what a record keeps to show the same again
};

// Loads the scene and gives it a camera of the host's own where it has none, or where the options ask for one: it shows
// the whole scene at `frames`. Throws Error, and Failure for a clip or a camera that is not there.
OpenedScene openScene(const SceneOptions& options, const FrameSet& frames);

}  // namespace quillmere::app
