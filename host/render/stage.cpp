#include "stage.h"

#include <utility>

#include "final_picture.h"
#include "parallel.h"
#include "posed_scene.h"
#include "quick_picture.h"

namespace quillmere::render {

struct Stage::Parts {
  PosedScene scene;
  std::optional<double> seconds;  // none before the first pose
};

Stage::Stage(std::shared_ptr<const scene::Scene> scene) : parts_(new Parts{PosedScene(std::move(scene)), {}}) {}

Stage::~Stage() = default;

void Stage::pose(double seconds) {
  if (parts_->seconds == seconds) return;
  parts_->seconds.reset();
  parts_->scene.pose(seconds);
  parts_->seconds = seconds;
}

const scene::Moment& Stage::moment() const {
  return parts_->scene.moment();
}

image::Image Stage::drawQuick(const scene::Viewpoint& view, int width, int height, const StopTest& stop) {
  return quickPicture({parts_->scene, view, width, height, stop, allCores()});
}

image::Image Stage::drawFinal(const scene::Viewpoint& view, int width, int height, const FinalSettings& settings,
                              const StopTest& stop) {
  return finalPicture({parts_->scene, view, width, height, stop, allCores()}, settings);
}

}  // namespace quillmere::render
