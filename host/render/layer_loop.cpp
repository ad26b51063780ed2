#include "layer_loop.h"

#include <algorithm>
#include <array>
#include <bit>

#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr int kLayers = 16;              // that are looked at; the last one counts as opaque
constexpr float kSpent = 1.0F / 512.0F;  // of a sample: what lies behind is not worth looking at

// A rotated grid: four different columns and four different rows of the pixel.
constexpr std::array<glm::vec2, 4> kGrid{{{0.375F, 0.125F}, {0.875F, 0.375F}, {0.125F, 0.625F}, {0.625F, 0.875F}}};

// Every second bit, from the lowest.
std::uint32_t spread(std::uint32_t bits) {
  bits &= 0xFFFFU;
  bits = (bits | bits << 8U) & 0x00FF00FFU;
  bits = (bits | bits << 4U) & 0x0F0F0F0FU;
  bits = (bits | bits << 2U) & 0x33333333U;
  return (bits | bits << 1U) & 0x55555555U;
}

// How many bits it takes to count so many.
int bitsFor(int count) {
  return static_cast<int>(std::bit_width(static_cast<std::uint32_t>(count - 1)));
}

// The place of a pixel on Morton's curve, which fills squares of two by two, of four by four and so on.
std::uint32_t alongCurve(glm::uvec2 pixel) {
  return spread(pixel.x) | spread(pixel.y) << 1U;
}

}  // namespace

RaySet PixelBlock::raysBeside(int ray) const {
  if (side == Side::One) return setOf(ray);  // each is a sample of its own
  const int share = raysPerPixel();
  return (setOf(share) - 1) << (ray & ~(share - 1));
}

PixelSampling PixelSampling::scattered(int samples, std::uint32_t seed) {
  return {PixelBlock::Side::Four, std::max(1, samples), 0.5F, mixed(seed)};
}

PixelSampling PixelSampling::further(int samples, int earlier, std::uint32_t seed) {
  return {PixelBlock::Side::One,
          std::max(1, (samples + kRays - 1) / kRays),
          0.5F,
          mixed(mixed(seed) + 1),
          earlier,
          mixed(seed)};
}

// What is too far along the curve for a number of 32 bits has the samples of other pixels, hundreds away.
PerRay<std::uint32_t> PixelSampling::firstSamples(const PixelBlock& pixels) const {
  PerRay<std::uint32_t> firsts{};
  const bool single = block == PixelBlock::Side::One;
  const int bits = single ? bitsFor(kMostTimes * earlier) : bitsFor(passes);
  for (int ray = 0; ray < kRays && !isGrid(); ++ray) {
    const glm::uvec2 pixel(pixels.pixelOf(ray));
    firsts[ray] = (alongCurve(pixel) << bits) + (single ? static_cast<std::uint32_t>(earlier + ray * passes) : 0U);
  }
  return firsts;
}

glm::vec2 PixelSampling::placeOf(int ray, std::uint32_t number) const {
  if (isGrid()) return kGrid[static_cast<std::size_t>(ray) % kGrid.size()];
  if (block == PixelBlock::Side::One) return samplePoint(number, placeSeed);
  const int bits = bitsFor(passes);
  const std::uint32_t pixel = number >> bits, sample = number - (pixel << bits);
  return samplePoint((pixel << bitsFor(kMostTimes * passes)) + sample, placeSeed);
}

LayerTrace::LayerTrace(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                       const PixelBlock& block, const PerRay<std::uint32_t>& firsts, int pass)
    : request_(request), camera_(camera), layer_(rays_, block, sampling.seed), footprint_(sampling.footprint) {
  for (int ray = 0; ray < kRays; ++ray) layer_.numbers[ray] = firsts[ray] + static_cast<std::uint32_t>(pass);
  for (int first = 0; first < kRays; first += block.raysPerPixel()) {
    const glm::ivec2 pixel = block.pixelOf(first);
    if (pixel.x >= request.width || pixel.y >= request.height) continue;
    for (int ray = first; ray < first + block.raysPerPixel(); ++ray) {
      const Ray seen = camera.through(glm::vec2(pixel) + sampling.placeOf(ray, layer_.numbers[ray]));
      rays_.start(ray, seen.origin, seen.direction, camera.nearest(), camera.farthest(), 0);
      layer_.reaching[ray] = 1.0F;
    }
  }
}

bool LayerTrace::findNext() {
  if (rays_.active() == 0) return false;
  ++found_;
  rays_.findNearest(request_.scene, RayUse::Camera);
  layer_.met = rays_.found();
  layer_.missed = rays_.active() & ~layer_.met;
  layer_.points = 0;
  for (RaySet open = layer_.met; open != 0;) {
    const RaySet sharing = sharingWith(std::countr_zero(open), open);
    addPoint(sharing);
    open &= ~sharing;
  }
  forEachRay(layer_.missed, [&](int ray) { layer_.weight[ray] = layer_.reaching[ray]; });
  return true;
}

// The rays of the same pixel that met the same triangle.
RaySet LayerTrace::sharingWith(int ray, RaySet among) const {
  RaySet sharing = setOf(ray);
  const Hit hit = rays_.hit(ray);
  forEachRay(among & layer_.block.raysBeside(ray) & ~sharing, [&](int other) {
    const Hit beside = rays_.hit(other);
    if (beside.instance == hit.instance && beside.point.triangle == hit.point.triangle) sharing |= setOf(other);
  });
  return sharing;
}

// Resolves the middle of what those rays met.
void LayerTrace::addPoint(RaySet sharing) {
  const int first = std::countr_zero(sharing);
  Hit middle = rays_.hit(first);
  forEachRay(sharing & ~setOf(first), [&](int ray) {
    const TrianglePoint point = rays_.hit(ray).point;
    middle.point.u += point.u;
    middle.point.v += point.v;
  });
  const auto count = static_cast<float>(std::popcount(sharing));
  middle.point.u /= count;
  middle.point.v /= count;
  layer_.surface.resolve(first, request_.scene, middle, rays_.direction(first),
                         footprint_ * camera_.pixelHeight(middle.distance));
  if (found_ == kLayers) layer_.surface.alpha[first] = 1.0F;
  layer_.points |= setOf(first);
  forEachRay(sharing, [&](int ray) {
    layer_.pointOf[ray] = first;
    layer_.weight[ray] = layer_.reaching[ray] * layer_.surface.alpha[first];
  });
}

void LayerTrace::goOn(RaySet done) {
  rays_.end(layer_.missed | done);
  forEachRay(layer_.met & ~done, [&](int ray) {
    layer_.reaching[ray] *= 1.0F - layer_.surface.alpha[layer_.pointOf[ray]];
    if (layer_.reaching[ray] > kSpent) {
      rays_.goOnBehindHit(ray, camera_.farthest());
    } else {
      rays_.end(setOf(ray));
    }
  });
}

Outcome drawTiles(const PictureRequest& request, int side, const std::function<void(Tile)>& draw) {
  const int columns = (request.width + side - 1) / side;
  const int rows = (request.height + side - 1) / side;
  return forEach(columns * rows, request.threads, request.stop, [&](int index) {
    const int left = index % columns * side;
    const int top = index / columns * side;
    draw({left, top, std::min(left + side, request.width), std::min(top + side, request.height)});
  });
}

}  // namespace quillmere::render
