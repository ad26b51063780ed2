#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "effect/effect_session.h"
#include "farm/bundle.h"
#include "farm/openjd_template.h"
#include "options.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// A render that the command line of another command asks for, looked at before it goes to other machines: the scene
// opens, its cameras and clips are there, the effect takes its settings.
class SubmittedRender {
 public:
  // Reads the options of `command`, parsed, that addRender has given it, but for those called in `others`. Throws what
  // render itself throws for them.
  SubmittedRender(const CLI::App& command, const std::vector<std::string>& others);

  // Whether each task gets copies of what the render reads instead of the paths here. The copies are made.
  void bundleInto(Bundle& bundle);
  // The effect's settings, for the file that tasks begin with. Throws Error.
  void saveSettingsTo(const std::filesystem::path& file);

  const FrameSet& frames() const { return frames_; }
  const std::filesystem::path& output() const { return output_; }  // absolute

  // All of it as arguments; settings are what `settings` holds.
  FarmRender asArguments(const std::filesystem::path& settings) const;
  // With what people may change as parameters instead. The job's folder is for settings and copies.
  OpenJdJob asOpenJdJob(const std::filesystem::path& settings) const;

 private:
  void openScene();
  void setUpEffect();
  void fixDepths();
  std::vector<RenderArgument> without(const std::vector<std::string>& options) const;
  std::string sceneName() const;

  SceneOptions sceneOptions_;
  EffectOptions effect_;
  DrawingOptions drawing_;
  SessionOptions sessionOptions_;
  FrameSet frames_;
  std::filesystem::path output_;
  std::vector<RenderArgument> arguments_;  // what was given besides the effect's settings, and what had to be fixed
  host::Events nobody_;
  OpenedScene opened_;
  std::unique_ptr<EffectSession> session_;
  Json controls_ = Json::object();
  std::filesystem::path workflow_;  // empty: none
};

}  // namespace quillmere::app
