#include "renderer.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <utility>

#include "base/memory.h"
#include "base/parallel.h"
#include "color_encoding.h"
#include "depth_span.h"
#include "edge_samples.h"
#include "exposure.h"
#include "layer_loop.h"
#include "light_filter.h"
#include "light_sources.h"
#include "line_strips.h"
#include "pass_shader.h"
#include "ray_scene.h"
#include "shaders.h"

namespace quillmere::render {
namespace {

constexpr const char* kTooLittle = "not enough memory; ask for a smaller one";

std::string refusalOf(int width, int height) {
  return "cannot draw a picture of " + std::to_string(width) + " x " + std::to_string(height) + ": ";
}

// Its samples are the caller's to write, each of them.
image::Image blankPicture(int width, int height, image::Sample sample, int channels = 3) {
  try {
    return {width, height, channels, sample, image::Filling::None};
  } catch (const std::bad_alloc&) {
    throw Error(refusalOf(width, height) + kTooLittle);
  } catch (const Error&) {
    if (std::max(width, height) <= image::kMaxSide && std::min(width, height) > 0) throw;
    throw Error(refusalOf(width, height) + "each side must be 1 to " + std::to_string(image::kMaxSide) + " pixels");
  }
}

// Throws the Error that says so where `draw` runs out of memory for what it keeps meanwhile.
template <class Draw>
Outcome withMemory(int width, int height, const Draw& draw) {
  try {
    return draw();
  } catch (const std::bad_alloc&) {
    throw Error(refusalOf(width, height) + kTooLittle);
  }
}

// Makes the planes that `request` asks for.
class BlankPlanes {
 public:
  BlankPlanes(int width, int height, const PassRequest& request) : width_(width), height_(height), request_(request) {}

  void make(Passes& passes) {
    const PassSet& wanted = request_.passes;
    if ((wanted.has(Pass::Picture) || wanted.has(Pass::Color)) && !request_.finalSamples) {
      passes.picture = blankPicture(width_, height_, image::Sample::Byte);
    }
    if (wanted.has(Pass::Color)) passes.color = plane(4);
    if (wanted.has(Pass::Depth)) passes.depth = plane(1);
    if (wanted.has(Pass::Depth)) passes.tone = plane(1);
    if (wanted.has(Pass::Normal)) passes.normal = plane(4);
    if (wanted.has(Pass::Position)) passes.position = plane(3);
    if (wanted.has(Pass::Albedo)) passes.albedo = plane(4);
    if (wanted.has(Pass::Lines)) passes.lines = plane(1);
    if (wanted.has(Pass::Object)) makeMattes(passes.objects, request_.matteLayers);
    if (wanted.has(Pass::Material)) makeMattes(passes.materials, request_.matteLayers);
  }

 private:
  image::Image plane(int channels) {
    const auto pixels = static_cast<std::uintmax_t>(width_) * static_cast<std::uintmax_t>(height_);
    requireMemory(pixels * static_cast<std::uintmax_t>(channels) * sizeof(float), refusalOf(width_, height_));
    return blankPicture(width_, height_, image::Sample::Float, channels);
  }
  void makeMattes(std::vector<image::Image>& layers, int count) {
    for (int i = 0; i < count; ++i) layers.push_back(plane(4));
  }

  int width_, height_;
  const PassRequest& request_;
};

std::vector<std::uint32_t> idsOf(const std::vector<std::string>& names) {
  std::vector<std::uint32_t> ids;
  std::ranges::transform(names, std::back_inserter(ids), [](const std::string& name) { return image::matteId(name); });
  return ids;
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
      objectIds_(idsOf(scene->objects())),
      materialIds_(idsOf(materialNames(*scene))),
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
  const PictureRequest request{*scene_, camera, width, height, stop, allCores()};
  const PixelSampling sampling = PixelSampling::scattered(settings.samples, settings.seed);
  const Outcome drawn = withMemory(width, height, [&] {
    LitPicture lit(width, height);
    const FinalShader shader(*scene_, sources, lit);
    Outcome outcome = drawPicture(request, sampling, shader);
    if (outcome == Outcome::Complete) outcome = sampleEdges(request, sampling.passes, settings.seed, shader, lit);
    if (outcome == Outcome::Complete) outcome = smoothGrain(lit, request.threads, stop);
    if (outcome == Outcome::Complete) develop(lit, picture);
    return outcome;
  });
  return ifComplete(drawn, std::move(picture));
}

std::optional<Passes> Renderer::drawPasses(const scene::Camera& camera, int width, int height,
                                           const PassRequest& request, const StopTest& stop) {
  Passes passes;
  BlankPlanes(width, height, request).make(passes);
  const PictureRequest picture{*scene_, camera, width, height, stop, allCores()};
  const auto& settings = request.finalSamples;
  const PixelSampling sampling =
      settings ? PixelSampling::scattered(settings->samples, settings->seed) : PixelSampling::grid();
  std::optional<QuickShader> quick;
  if (!passes.picture.empty()) quick.emplace(camera, passes.picture);
  std::optional<LineStrips> lines;
  if (!passes.lines.empty()) lines.emplace(camera, sampling.tileSide(), passes.lines);
  const PassTarget target{passes, lines ? &*lines : nullptr, quick ? &*quick : nullptr};
  const PassIds ids{objectIds_, materialIds_};
  const Outcome outcome = withMemory(width, height, [&] {
    return passes.objects.empty() && passes.materials.empty() && !lines
               ? drawPicture(picture, sampling, PassShader<Mattes::No>(picture, request, ids, target))
               : drawPicture(picture, sampling, PassShader<Mattes::Yes>(picture, request, ids, target));
  });
  if (outcome == Outcome::Stopped) return {};
  return passes;
}

std::optional<DepthRange> Renderer::seenDepths(const scene::Camera& camera, double widthToHeight) {
  constexpr double kPixels = 72.0 * 72.0;
  const auto side = [](double pixels) { return std::clamp(static_cast<int>(std::lround(pixels)), 1, image::kMaxSide); };
  const double width = std::sqrt(kPixels * widthToHeight);
  const PictureRequest picture{*scene_, camera, side(width), side(width / widthToHeight), {}, allCores()};
  return depthsSeen(picture);
}

}  // namespace quillmere::render
