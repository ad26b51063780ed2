#include "renderer.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "base/parallel.h"
#include "layer_loop.h"
#include "ray_scene.h"
#include "shaders.h"

namespace quillmere::render {
namespace {

image::Image blankPicture(int width, int height, image::Sample sample) {
  const std::string what = "cannot draw a picture of " + std::to_string(width) + " x " + std::to_string(height) + ": ";
  try {
    return {width, height, 3, sample};
  } catch (const std::bad_alloc&) {
    throw Error(what + "not enough memory; ask for a smaller one");
  } catch (const Error&) {
    if (std::max(width, height) <= image::kMaxSide && std::min(width, height) > 0) throw;
    throw Error(what + "each side must be 1 to " + std::to_string(image::kMaxSide) + " pixels");
  }
}

image::Image ifComplete(Outcome outcome, image::Image picture) {
  return outcome == Outcome::Complete ? std::move(picture) : image::Image();
}

}  // namespace

Renderer::Renderer(std::shared_ptr<const scene::Scene> scene) : scene_(new RayScene(std::move(scene))) {}

Renderer::~Renderer() = default;

void Renderer::pose(double seconds) {
  if (seconds_ == seconds) return;
  seconds_.reset();
  scene_->pose(seconds);
  seconds_ = seconds;
}

const scene::Snapshot& Renderer::snapshot() const {
  return scene_->snapshot();
}

image::Image Renderer::drawQuick(const scene::Camera& camera, int width, int height, const StopTest& stop) {
  image::Image picture = blankPicture(width, height, image::Sample::Byte);
  const QuickShader shader(camera, picture);
  const PictureRequest request{*scene_, camera, width, height, stop, allCores()};
  const Outcome outcome = drawPicture(request, PixelSampling::grid(), shader);
  return ifComplete(outcome, std::move(picture));
}

image::Image Renderer::drawFinal(const scene::Camera& camera, int width, int height, const FinalSettings& settings,
                                 const StopTest& stop) {
  image::Image picture = blankPicture(width, height, image::Sample::Float);
  const FinalShader shader(*scene_, picture);
  const PictureRequest request{*scene_, camera, width, height, stop, allCores()};
  const Outcome outcome = drawPicture(request, PixelSampling::scattered(settings.samples, settings.seed), shader);
  return ifComplete(outcome, std::move(picture));
}

}  // namespace quillmere::render
