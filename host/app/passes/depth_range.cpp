#include "depth_range.h"

#include <algorithm>
#include <cmath>

namespace quillmere::app {
namespace {

// What moves may come nearer between the poses that are looked at, and thin things may be missed.
constexpr double kNearer = 0.95, kFarther = 1.05;

// Rounded outwards to two digits, so that the range can be told, and given again for other parts of a sequence.
float rounded(double depth, double (*round)(double)) {
  const double unit = std::pow(10.0, 1.0 - std::floor(std::log10(depth)));  // a power of ten divides without a rest
  const double units = depth * unit, nearest = std::round(units);
  return static_cast<float>((std::abs(units - nearest) < 1e-3 ? nearest : round(units)) / unit);
}

}  // namespace

render::DepthRange depthRangeOf(const std::shared_ptr<const scene::Scene>& scene, const std::string& camera,
                                const DepthSequence& sequence) {
  const auto& cameras = scene->cameras();
  const auto called = std::ranges::find(cameras, camera, &scene::CameraInfo::name);
  if (called == cameras.end()) return {};
  const bool moves = scene->duration() > 0.0 || called->animated;
  render::Renderer renderer(scene, sequence.sides);
  render::DepthRange all{scene::kLargestNumber, 0.0F};
  for (const double seconds : sequence.seconds) {
    renderer.pose(seconds);
    const scene::Camera& from = renderer.snapshot().cameras.at(static_cast<std::size_t>(called - cameras.begin()));
    const auto seen = renderer.seenDepths(from, static_cast<double>(sequence.size.width) / sequence.size.height);
    if (seen) all = {std::min(all.near, seen->near), std::max(all.far, seen->far)};
    if (!moves) break;
  }
  if (all.near > all.far) return {};
  constexpr double kLeast = 1e-4;
  const float near = rounded(std::max(kLeast, kNearer * static_cast<double>(all.near)), std::floor);
  const float far = rounded(std::max(kLeast, kFarther * static_cast<double>(all.far)), std::ceil);
  return {near, std::max(far, 1.01F * near)};
}

}  // namespace quillmere::app
