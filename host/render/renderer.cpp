#include "renderer.h"

#include <utility>

#include "base/parallel.h"
#include "final_picture.h"
#include "posed_scene.h"
#include "quick_picture.h"

namespace quillmere::render {

struct Renderer::Parts {
  PosedScene scene;
  std::optional<double> seconds;  // none before the first pose
};

Renderer::Renderer(std::shared_ptr<const scene::Scene> scene) : parts_(new Parts{PosedScene(std::move(scene)), {}}) {}

Renderer::~Renderer() = default;

void Renderer::pose(double seconds) {
  if (parts_->seconds == seconds) return;
  parts_->seconds.reset();
  parts_->scene.pose(seconds);
  parts_->seconds = seconds;
}

const scene::Snapshot& Renderer::snapshot() const {
  return parts_->scene.snapshot();
}

image::Image Renderer::drawQuick(const scene::Camera& view, int width, int height, const StopTest& stop) {
  return quickPicture({parts_->scene, view, width, height, stop, allCores()});
}

image::Image Renderer::drawFinal(const scene::Camera& view, int width, int height, const FinalSettings& settings,
                                 const StopTest& stop) {
  return finalPicture({parts_->scene, view, width, height, stop, allCores()}, settings);
}

}  // namespace quillmere::render
