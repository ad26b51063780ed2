#include "renderer.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <utility>

#include "base/memory.h"
#include "base/parallel.h"
#include "color_encoding.h"
#include "edge_samples.h"
#include "exposure.h"
#include "layer_loop.h"
#include "light_filter.h"
#include "light_sources.h"
#include "ray_scene.h"
#include "shaders.h"

namespace quillmere::render {
namespace {

std::string refusalOf(int width, int height) {
  return "cannot draw a picture of " + std::to_string(width) + " x " + std::to_string(height) + ": ";
}

image::Image blankPicture(int width, int height, image::Sample sample) {
  const std::string what = refusalOf(width, height);
  try {
    return {width, height, 3, sample};
  } catch (const std::bad_alloc&) {
    throw Error(what + "not enough memory; ask for a smaller one");
  } catch (const Error&) {
    if (std::max(width, height) <= image::kMaxSide && std::min(width, height) > 0) throw;
    throw Error(what + "each side must be 1 to " + std::to_string(image::kMaxSide) + " pixels");
  }
}

constexpr int kMoments = 5;

void develop(const LitPicture& lit, image::Image& picture) {
  forEach(lit.height, allCores(), {}, [&](int y) {
    float* rgb = picture.row<float>(y);
    for (int x = 0; x < lit.width; ++x, rgb += 3) {
      const glm::vec3 light = displayLight(lit.at(x, y));
      for (int c = 0; c < 3; ++c) rgb[c] = stored(light[c]);
    }
  });
}

image::Image ifComplete(Outcome outcome, image::Image picture) {
  return outcome == Outcome::Complete ? std::move(picture) : image::Image();
}

}  // namespace

Renderer::Renderer(const std::shared_ptr<const scene::Scene>& scene, Sides sides)
    : scene_(new RayScene(scene, sides == Sides::Both ? SingleSided::Unlit : SingleSided::All)),
      duration_(scene->duration()) {}

Renderer::~Renderer() = default;

void Renderer::pose(double seconds) {
  if (seconds_ == seconds) return;
  seconds_.reset();
  scene_->pose(seconds);
  seconds_ = seconds;
}

// Measured at moments spread over the whole scene, whichever of them is drawn, so that nothing that moves changes it.
float Renderer::exposure() {
  if (exposure_) return *exposure_;
  const std::optional<double> now = seconds_;
  const int moments = now && duration_ > 0.0 && hasLamps(snapshot()) ? kMoments : 1;
  float sum = 0.0F;
  for (int i = 0; i < moments; ++i) {
    if (now) pose(duration_ * i / std::max(1, moments - 1));
    sum += measuredLight(*scene_);
  }
  if (now) pose(*now);
  const float mean = sum / static_cast<float>(moments);
  exposure_ = std::isnormal(mean) ? 1.0F / mean : 1.0F;
  return *exposure_;
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

image::Image Renderer::drawFinal(const scene::Camera& through, int width, int height, const FinalSettings& settings,
                                 const StopTest& stop) {
  image::Image picture = blankPicture(width, height, image::Sample::Float);
  requireMemory(memoryToLight(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
                refusalOf(width, height));
  const scene::Camera camera = through;  // which may be one of the snapshot's, and that goes while light is measured
  const LightSources sources(*scene_, settings, exposure());
  LitPicture lit(width, height);
  const PictureRequest request{*scene_, camera, width, height, stop, allCores()};
  const PixelSampling sampling = PixelSampling::scattered(settings.samples, settings.seed);
  const FinalShader shader(*scene_, sources, lit);
  Outcome outcome = drawPicture(request, sampling, shader);
  if (outcome == Outcome::Complete) outcome = sampleEdges(request, sampling.passes, settings.seed, shader, lit);
  if (outcome == Outcome::Complete) outcome = smoothGrain(lit, request.threads, stop);
  if (outcome == Outcome::Complete) develop(lit, picture);
  return ifComplete(outcome, std::move(picture));
}

}  // namespace quillmere::render
