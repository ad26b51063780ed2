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

// Where the sixteen samples of a block of two by two pixels lie in it, in pixels.
struct GridPlaces {
  constexpr GridPlaces() {
    for (std::size_t ray = 0; ray < kRays; ++ray) {
      x[ray] = kGrid[ray % 4].x + static_cast<float>(ray >> 2U & 1U);
      y[ray] = kGrid[ray % 4].y + static_cast<float>(ray >> 3U);
    }
  }
  std::array<float, kRays> x{}, y{};
};
constexpr GridPlaces kGridPlaces;

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

PerRay<std::uint32_t> numbersOf(const PixelSampling& sampling, const PerRay<std::uint32_t>& firsts, int pass) {
  const auto further = static_cast<std::uint32_t>(sampling.block == PixelBlock::Side::One ? pass * kRays : pass);
  PerRay<std::uint32_t> numbers{};
  for (int ray = 0; ray < kRays; ++ray) numbers[ray] = firsts[ray] + further;
  return numbers;
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
    firsts[ray] = (alongCurve(pixel) << bits) + (single ? static_cast<std::uint32_t>(earlier + ray) : 0U);
  }
  return firsts;
}

void PixelSampling::place(const PixelBlock& pixels, const PerRay<std::uint32_t>& numbers, PerRay<float>& x,
                          PerRay<float>& y) const {
  for (int ray = 0; ray < kRays && isGrid(); ++ray) {
    x[ray] = static_cast<float>(pixels.left) + kGridPlaces.x[static_cast<std::size_t>(ray)];
    y[ray] = static_cast<float>(pixels.top) + kGridPlaces.y[static_cast<std::size_t>(ray)];
  }
  if (isGrid()) return;
  PerRay<std::uint32_t> places{};
  for (int ray = 0; ray < kRays; ++ray) places[ray] = placeNumber(numbers[ray]);
  SamplePoints points;
  findSamplePoints(places.values, placeSeed, points);
  for (int ray = 0; ray < kRays; ++ray) {
    const glm::vec2 there = glm::vec2(pixels.pixelOf(ray)) + points[ray];
    x[ray] = there.x;
    y[ray] = there.y;
  }
}

RaySet PixelSampling::laterRays(int pass) const {
  constexpr RaySet kAll = (RaySet{1} << kRays) - 1;
  if (block != PixelBlock::Side::One) return 2 * pass >= passes ? kAll : 0;
  const int first = std::clamp(kRays * passes / 2 - kRays * pass, 0, kRays);  // sixteen of a pixel one after the other
  return kAll & ~((RaySet{1} << first) - 1);
}

std::uint32_t PixelSampling::placeNumber(std::uint32_t number) const {
  if (block == PixelBlock::Side::One) return number;
  const int bits = bitsFor(passes);
  const std::uint32_t pixel = number >> bits, sample = number - (pixel << bits);
  return (pixel << bitsFor(kMostTimes * passes)) + sample;
}

LayerTrace::LayerTrace(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                       const PixelBlock& block, const PerRay<std::uint32_t>& firsts, int pass, MetTriangle& triangle)
    : request_(request),
      camera_(camera),
      layer_(camera, rays_, block, numbersOf(sampling, firsts, pass), sampling.seed),
      rays_(packetOf(insideOf(request, block), sampling)),
      triangle_(triangle),
      footprint_(sampling.footprint),
      shared_(sampling.shared) {
  for (int ray = 0; ray < kRays; ++ray) layer_.reaching[ray] = 1.0F;
  layer_.later = sampling.laterRays(pass);
}

// The rays of pixels that are in the picture: blocks may stick out.
RaySet LayerTrace::insideOf(const PictureRequest& request, const PixelBlock& block) {
  RaySet inside = (RaySet{1} << kRays) - 1;
  if (block.left + block.pixels() <= request.width && block.top + block.pixels() <= request.height) return inside;
  for (int ray = 0; ray < kRays; ++ray) {
    const glm::ivec2 pixel = block.pixelOf(ray);
    if (pixel.x >= request.width || pixel.y >= request.height) inside &= ~setOf(ray);
  }
  return inside;
}

RayPacket LayerTrace::packetOf(RaySet active, const PixelSampling& sampling) const {
  PerRay<float> x{}, y{};
  sampling.place(layer_.block, layer_.numbers, x, y);
  VectorPerRay origins, directions;
  for (int ray = 0; ray < kRays; ++ray) {
    const Ray seen = camera_.through({x[ray], y[ray]});
    origins.set(ray, seen.origin);
    directions.set(ray, seen.direction);
  }
  return {active, origins, directions, camera_.nearest(), camera_.farthest()};
}

void LayerTrace::trace() {
  if (!isTraced_) rays_.findNearest(request_.scene, RayUse::Camera);
  isTraced_ = true;
}

const MetTriangle* LayerTrace::findOne() {
  trace();
  if (!rays_.allAgree()) return nullptr;
  meet(rays_.hit(0));
  return triangle_.isPlain() ? &triangle_ : nullptr;
}

bool LayerTrace::findNext() {
  if (rays_.active() == 0) return false;
  ++found_;
  trace();
  isTraced_ = false;
  layer_.met = rays_.found();
  layer_.missed = rays_.active() & ~layer_.met;
  layer_.points = 0;
  seesThrough_ = false;
  if (layer_.block.side == PixelBlock::Side::Two && rays_.allAgree() && addFour()) return true;
  for (RaySet open = layer_.met; open != 0;) {
    const int first = std::countr_zero(open);
    const RaySet together = rays_.agreeing(first) & open;
    const bool shared = sharesPoint(rays_.hit(first));
    for (RaySet left = together; left != 0;) {
      const RaySet sharing = shared ? left : left & layer_.block.raysBeside(std::countr_zero(left));
      addPoint(sharing);
      left &= ~sharing;
    }
    open &= ~together;
  }
  forEachRay(layer_.missed, [&](int ray) { layer_.weight[ray] = layer_.reaching[ray]; });
  return true;
}

bool LayerTrace::sharesPoint(const Hit& hit) const {
  return shared_ && !request_.scene.instances()[hit.instance].material->textured;
}

void LayerTrace::meet(const Hit& hit) {
  if (triangle_.is(hit.instance, hit.point.triangle)) return;
  triangle_ = MetTriangle(request_.scene, hit.instance, hit.point.triangle);
}

// Of each of a grid's four pixels the middle of its samples, all of which met one triangle.
FourHits LayerTrace::middles() const {
  FourHits hits;
  for (int i = 0; i < 4; ++i) {
    const int first = 4 * i;
    const Hit hit = rays_.hit(first);
    TrianglePoint middle = hit.point;
    for (int ray = first + 1; ray < first + 4; ++ray) {
      const TrianglePoint point = rays_.hit(ray).point;
      middle.u += point.u;
      middle.v += point.v;
    }
    hits.u[i] = 0.25F * middle.u;
    hits.v[i] = 0.25F * middle.v;
    hits.direction.x[i] = rays_.direction(first).x;
    hits.direction.y[i] = rays_.direction(first).y;
    hits.direction.z[i] = rays_.direction(first).z;
    hits.pixelHeight[i] = footprint_ * camera_.pixelHeight(hit.distance);
  }
  return hits;
}

// Resolves the middles of all four pixels of a packet that met one triangle; false, with nothing done, where these have
// to be looked at one by one.
bool LayerTrace::addFour() {
  meet(rays_.hit(0));
  if (!triangle_.isPlain()) return false;
  layer_.surface.resolveFour(triangle_, middles());
  for (int first = 0; first < kRays; first += 4) {
    const PerRay<float>& reaching = layer_.reaching;
    layer_.weightAt[first] = reaching[first] + reaching[first + 1] + reaching[first + 2] + reaching[first + 3];
  }
  layer_.points = 0x1111U;
  for (int ray = 0; ray < kRays; ++ray) layer_.pointOf[ray] = ray & ~3;
  layer_.weight = layer_.reaching;
  return true;
}

// Resolves the middle of what those rays met.
void LayerTrace::addPoint(RaySet sharing) {
  const int first = std::countr_zero(sharing);
  Hit middle = rays_.hit(first);
  float count = 1.0F;
  forEachRay(sharing & ~setOf(first), [&](int ray) {
    const TrianglePoint point = rays_.hit(ray).point;
    middle.point.u += point.u;
    middle.point.v += point.v;
    count += 1.0F;
  });
  middle.point.u /= count;
  middle.point.v /= count;
  meet(middle);
  layer_.surface.resolve(first, triangle_, middle, rays_.direction(first),
                         footprint_ * camera_.pixelHeight(middle.distance));
  if (found_ == kLayers) layer_.surface.alpha[first] = 1.0F;
  layer_.points |= setOf(first);
  const float alpha = layer_.surface.alpha[first];
  seesThrough_ = seesThrough_ || alpha < 1.0F;
  float weight = 0.0F;
  forEachRay(sharing, [&](int ray) {
    layer_.pointOf[ray] = first;
    layer_.weight[ray] = layer_.reaching[ray] * alpha;
    weight += layer_.weight[ray];
  });
  layer_.weightAt[first] = weight;
}

void LayerTrace::goOn(RaySet done) {
  if (!seesThrough_) return rays_.end(rays_.active());
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
