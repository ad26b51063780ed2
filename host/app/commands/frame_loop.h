#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "effect/effect_session.h"
#include "image/file_formats.h"
#include "passes/frame_passes.h"
#include "process/lifeline.h"
#include "report/told_once.h"
#include "sequence/sequence.h"
#include "values/frames.h"
#include "values/output_pattern.h"

namespace quillmere::app {

// How frames are rendered, and where they go.
struct FramePlan {
  FrameClock clock;
  OutputPattern output;
  PictureSize size;
  std::filesystem::path writeDirectory;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
  std::string camera;  // that the node looks through, for reports
};

// Renders and writes frames in this process, one after the other. What a helper leaves running goes on through the
// frames that follow, until one fails or is broken off; when this dies no process runs below this one.
class FrameLoop {
 public:
  // All of them must outlive it; `scene` is the session's. Throws Failure when no frame can be rendered, because
  // something else lies in the place of the workflow or the helper would refuse the size.
  FrameLoop(EffectSession& session, const scene::Scene& scene, const FramePlan& plan, ToldOnce& report);
  ~FrameLoop();
  FrameLoop(const FrameLoop&) = delete;
  FrameLoop& operator=(const FrameLoop&) = delete;

  // To its end, or until `stop` says true. The report gets what is told meanwhile, neither that it begins nor its end.
  Attempt render(const Shot& shot, const std::function<bool()>& stop);

 private:
  void aim(const Shot& shot);
  void drawPasses();

  EffectSession& session_;
  const scene::Scene& scene_;
  const FramePlan& plan_;
  ToldOnce& report_;
  const Lifeline lifeline_;
  Json told_;                            // the facts that the helper knows
  std::unique_ptr<FramePasses> passes_;  // that these facts ask for
};

// Has the effect's node look through this camera.
void lookThrough(EffectSession& session, const std::string& camera);

}  // namespace quillmere::app
