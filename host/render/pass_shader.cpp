#include "pass_shader.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace quillmere::render {
namespace {

constexpr RaySet kOnePerPixel = 0x1111;  // the points of a block of two by two pixels of which each met one triangle
constexpr float kSeen = 0.5F;            // of a sample that a surface has to stop, together with those in front of it

std::vector<Plane> planesOf(std::vector<image::Image>& pictures) {
  return {pictures.begin(), pictures.end()};
}

// Whether each pixel of a block shows one opaque point and nothing else.
bool isWhole(const Layer& layer) {
  constexpr RaySet kAll = (RaySet{1} << kRays) - 1;
  if (layer.block.side != PixelBlock::Side::Two || layer.points != kOnePerPixel || layer.met != kAll) return false;
  int whole = 0;
  for (int ray = 0; ray < kRays; ++ray) whole += static_cast<int>(layer.weight[ray] == 1.0F);
  return whole == kRays;
}

// Of a pixel that shows nothing but one object or material.
void storeMatte(const std::vector<Plane>& layers, std::uint32_t id, std::ptrdiff_t pixel) {
  MatteSum sum;
  sum.add(id, 1.0F);
  sum.store(layers, 1.0F, pixel);
}

// The rays whose samples end in a layer for the most part; of those that meet nothing it may tell anything.
RaySet stoppedIn(const Layer& layer) {
  const auto isStopped = [&](int ray) {  // 1 or 0, without a jump
    return static_cast<RaySet>(layer.reaching[ray] > kSeen) &
           static_cast<RaySet>(layer.reaching[ray] - layer.weight[ray] <= kSeen);
  };
  RaySet count = 0;
  for (int ray = 0; ray < kRays; ++ray) count += isStopped(ray);
  RaySet stopped = 0;
  if (count == kRays) return ~stopped;  // as mostly
  for (int ray = 0; ray < kRays; ++ray) stopped |= isStopped(ray) << ray;
  return stopped;
}

float countOf(RaySet rays) {
  float count = 0.0F;
  forEachRay(rays, [&](int) { count += 1.0F; });
  return count;
}

float sumOf(const PerRay<float>& values, RaySet rays) {
  float sum = 0.0F;
  forEachRay(rays, [&](int ray) { sum += values[ray]; });
  return sum;
}

glm::vec3 unit(glm::vec3 direction) {
  const float length = glm::length(direction);
  return length > 1e-6F ? direction / length : glm::vec3(0.0F);
}

}  // namespace

template <Mattes kMattes>
PassShader<kMattes>::PassShader(const PictureRequest& picture, const PassRequest& request, PassIds ids,
                                PassTarget target)
    : scene_(picture.scene),
      quick_(target.quick),
      lines_(target.lines),
      width_(picture.width),
      color_(target.passes.color),
      depth_(target.passes.depth),
      tone_(target.passes.tone),
      normal_(target.passes.normal),
      position_(target.passes.position),
      albedo_(target.passes.albedo),
      objects_(planesOf(target.passes.objects)),
      materials_(planesOf(target.passes.materials)),
      toCamera_(glm::transpose(glm::mat3(picture.camera.toWorld))),
      inverse_(request.tone.kind == DepthTone::Kind::Inverse),
      orthographic_(picture.camera.orthographic),
      looksAtSurfaces_(depth_ || normal_ || position_ || lines_ != nullptr),
      linesAlone_(lines_ != nullptr && !color_ && !depth_ && !normal_ && !position_ && !albedo_ && objects_.empty() &&
                  materials_.empty()),
      toTheEnd_(target.quick != nullptr || kMattes == Mattes::Yes || request.passes.has(Pass::Albedo)) {
  const float near = inverse_ ? 1.0F / request.tone.range.near : request.tone.range.near;
  const float far = inverse_ ? 1.0F / request.tone.range.far : request.tone.range.far;
  toneScale_ = 1.0F / (near - far);
  toneOffset_ = -far * toneScale_;
  for (const Instance& instance : scene_.instances()) {
    ids_.push_back({ids.objects[static_cast<std::size_t>(instance.surface->object)],
                    ids.materials[static_cast<std::size_t>(instance.surface->material)], instance.sky});
  }
}

template <Mattes kMattes>
RaySet PassShader<kMattes>::shade(const Layer& layer, BlockSums<Sum> sums) const {
  const Depths depths = depthsOf(layer.rays);
  if (isWhole(layer)) {
    for (int pixel = 0; pixel < 4; ++pixel) {
      const int at = 4 * pixel;
      const SurfacePoints& surface = layer.surface;
      const glm::ivec2 place = layer.block.pixelOf(at);
      const glm::vec3 light = quick_ != nullptr ? quick_->lightOf(layer, at) : glm::vec3(0.0F);
      if (quick_ != nullptr) quick_->store(light, place.x, place.y);
      storeWhole({light, surface.color[at], surface.normal[at], surface.instance[at]}, layer.rays, at, depths, place);
      sums[pixel].isStored = true;
    }
    return layer.met;
  }
  const auto sumOf = [&](int ray) -> Sum& { return sums[layer.block.summedAt(ray)]; };
  if (quick_ != nullptr) quick_->light(layer, [&](int ray) -> QuickShader::Sum& { return sumOf(ray).quick; });
  const auto seenOf = [&](int ray) -> Seen& {
    std::optional<Seen>& held = sumOf(ray).seen;
    return held ? *held : held.emplace();
  };
  const RaySet seen = seenIn(layer);
  for (RaySet open = looksAtSurfaces_ ? seen : 0; open != 0;) {
    const int ray = std::countr_zero(open);
    const RaySet beside = open & layer.block.raysBeside(ray);
    addSeen(layer, beside, depths, seenOf(ray));
    open &= ~beside;
  }
  forEachRay(layer.points, [&](int at) { addPoint(layer, at, seenOf(at)); });
  return toTheEnd_ ? 0 : seen;
}

template <Mattes kMattes>
void PassShader<kMattes>::storeFour(const FourPixels& pixels) const {
  const Depths depths = depthsOf(pixels.rays);
  const FourVectors light = quick_ != nullptr ? quick_->lightOf(pixels) : FourVectors{};
  if (quick_ != nullptr) quick_->storeFour(light, pixels.block);
  if (linesAlone_) return storeFourLines(pixels, depths.even);
  for (int i = 0; i < 4; ++i) {
    const Shown shown{light[i], glm::vec3(pixels.points.colors[static_cast<std::size_t>(i)]), pixels.points.normal[i],
                      pixels.triangle.instance()};
    storeWhole(shown, pixels.rays, 4 * i, depths, pixels.block.pixelOf(4 * i));
  }
}

// All but the quick picture, as by sums of the pixel's four samples, from `at` on.
template <Mattes kMattes>
void PassShader<kMattes>::storeWhole(const Shown& shown, const RayPacket& rays, int at, const Depths& depths,
                                     glm::ivec2 place) const {
  const std::ptrdiff_t pixel = std::ptrdiff_t{place.y} * width_ + place.x;
  const Ids& ids = ids_[shown.instance];
  const bool sky = ids.sky;
  const glm::vec3 normal = sky ? glm::vec3(0.0F) : shown.normal;
  color_.put(pixel, shown.light, 1.0F);
  albedo_.put(pixel, shown.color, 1.0F);
  if (normal_) normal_.put(pixel, toCamera_ * unit(normal), sky ? 0.0F : 1.0F);
  if constexpr (kMattes == Mattes::Yes) {
    if (!objects_.empty()) storeMatte(objects_, ids.object, pixel);
    if (!materials_.empty()) storeMatte(materials_, ids.material, pixel);
  }
  const auto meanOf = [&](const PerRay<float>& values) {
    return sky ? 0.0F : 0.25F * (values[at] + values[at + 1] + values[at + 2] + values[at + 3]);
  };
  if (tone_) tone_.put(pixel, meanOf(depths.tones));
  if (lines_ != nullptr) {
    lines_->rowAt(place.y).put(place.x, normal, meanOf(depths.even), {{ids.object, 0}, {1.0F, 0.0F}});
  }
  if (depth_ || position_) storeNearest(rays, at, sky, pixel);
}

template <Mattes kMattes>
void PassShader<kMattes>::storeFourLines(const FourPixels& pixels, const PerRay<float>& evenDepths) const {
  const Ids& ids = ids_[pixels.triangle.instance()];
  FourVectors normals{};
  Four depths{};
  if (!ids.sky) {
    normals = pixels.points.normal;
    for (int i = 0; i < 4; ++i) {
      depths[i] = 0.25F * (evenDepths[4 * i] + evenDepths[4 * i + 1] + evenDepths[4 * i + 2] + evenDepths[4 * i + 3]);
    }
  }
  const PixelBlock& block = pixels.block;
  for (const int row : {0, 1}) lines_->rowAt(block.top + row).putTwo(block.left, normals, depths, ids.object, 2 * row);
}

template <Mattes kMattes>
void PassShader<kMattes>::storeNearest(const RayPacket& rays, int at, bool sky, std::ptrdiff_t pixel) const {
  int nearest = at;
  for (int ray = at + 1; ray < at + 4; ++ray) {
    if (rays.hit(ray).distance < rays.hit(nearest).distance) nearest = ray;
  }
  const float depth = rays.hit(nearest).distance;
  depth_.put(pixel, sky ? std::numeric_limits<float>::infinity() : depth);
  position_.put(pixel, sky ? glm::vec3(0.0F) : rays.origin(nearest) + depth * rays.direction(nearest));
}

// The rays whose samples are stopped by this layer, together with those in front of it, and not by those alone.
template <Mattes kMattes>
RaySet PassShader<kMattes>::seenIn(const Layer& layer) const {
  const RaySet stopped = layer.met & stoppedIn(layer);
  RaySet sky = 0;
  forEachRay(layer.points, [&](int at) {
    if (ids_[layer.surface.instance[at]].sky) sky |= setOf(at);
  });
  if (sky == 0) return stopped;
  RaySet seen = stopped;
  forEachRay(stopped, [&](int ray) {
    if ((sky & setOf(layer.pointOf[ray])) != 0) seen &= ~setOf(ray);
  });
  return seen;
}

template <Mattes kMattes>
typename PassShader<kMattes>::Depths PassShader<kMattes>::depthsOf(const RayPacket& rays) const {
  Depths depths;
  for (int ray = 0; ray < kRays && tone_; ++ray) {
    const float depth = rays.hit(ray).distance;
    depths.tones[ray] = std::clamp(toneOffset_ + toneScale_ * (inverse_ ? 1.0F / depth : depth), 0.0F, 1.0F);
  }
  for (int ray = 0; ray < kRays && lines_ != nullptr; ++ray) {
    const float depth = rays.hit(ray).distance;
    depths.even[ray] = orthographic_ ? depth : 1.0F / depth;
  }
  return depths;
}

template <Mattes kMattes>
void PassShader<kMattes>::addSeen(const Layer& layer, RaySet rays, const Depths& depths, Seen& seen) const {
  const auto samples = countOf(rays);
  seen.samples += samples;
  if (tone_) seen.tone += sumOf(depths.tones, rays);
  if (lines_ != nullptr) seen.evenDepth += sumOf(depths.even, rays);
  if (normal_ || lines_ != nullptr) {
    glm::vec3 normal(0.0F);
    if (layer.points == kOnePerPixel) {
      normal = samples * layer.surface.normal[layer.pointOf[std::countr_zero(rays)]];
    } else {
      forEachRay(rays, [&](int ray) { normal += layer.surface.normal[layer.pointOf[ray]]; });
    }
    seen.normal += normal;
  }
  if (depth_ || position_) addNearest(layer, rays, seen);
}

// The place of a sample is its own: those of one pixel may share a point of the surface.
template <Mattes kMattes>
void PassShader<kMattes>::addNearest(const Layer& layer, RaySet rays, Seen& seen) const {
  int nearest = -1;
  forEachRay(rays, [&](int ray) {
    const float depth = layer.rays.hit(ray).distance;
    if (!(depth < seen.nearest)) return;
    seen.nearest = depth;
    nearest = ray;
  });
  if (!position_ || nearest < 0) return;
  seen.position = layer.rays.origin(nearest) + seen.nearest * layer.rays.direction(nearest);
}

// What all rays that share the point see alike.
template <Mattes kMattes>
void PassShader<kMattes>::addPoint(const Layer& layer, int at, Seen& seen) const {
  const float weight = layer.weightAt[at];
  seen.alpha += weight;
  if (albedo_) seen.albedo += weight * layer.surface.color[at];
  if constexpr (kMattes == Mattes::Yes) {
    const Ids& ids = ids_[layer.surface.instance[at]];
    if (!objects_.empty() || lines_ != nullptr) seen.mattes.objects.add(ids.object, weight);
    if (!materials_.empty()) seen.mattes.materials.add(ids.material, weight);
  }
}

template <Mattes kMattes>
void PassShader<kMattes>::store(const Sum& sum, float samples, int x, int y) const {
  if (sum.isStored) return;
  if (quick_ != nullptr) quick_->store(sum.quick, samples, x, y);
  if (lines_ != nullptr) putLine(sum, samples, x, y);
  if (linesAlone_) return;
  const std::ptrdiff_t pixel = std::ptrdiff_t{y} * width_ + x;
  if (!sum.seen) return storeNothing(pixel);
  const Seen& seen = *sum.seen;
  const float each = 1.0F / samples, alpha = std::min(1.0F, seen.alpha * each);
  color_.put(pixel, sum.quick.surfaces * each, alpha);
  depth_.put(pixel, seen.nearest);
  tone_.put(pixel, seen.tone * each);
  if (normal_) normal_.put(pixel, toCamera_ * unit(seen.normal), seen.samples * each);
  position_.put(pixel, seen.position);
  albedo_.put(pixel, seen.albedo * each, alpha);
  if constexpr (kMattes == Mattes::Yes) {
    if (!objects_.empty()) seen.mattes.objects.store(objects_, samples, pixel);
    if (!materials_.empty()) seen.mattes.materials.store(materials_, samples, pixel);
  }
}

template <Mattes kMattes>
void PassShader<kMattes>::putLine(const Sum& sum, float samples, int x, int y) const {
  const LineRow row = lines_->rowAt(y);
  if (!sum.seen) return row.put(x, glm::vec3(0.0F), 0.0F, {});
  if constexpr (kMattes == Mattes::Yes) {
    const Seen& seen = *sum.seen;
    row.put(x, seen.normal * (1.0F / samples), seen.evenDepth / std::max(1.0F, seen.samples),
            seen.mattes.objects.firstTwo(samples));
  }
}

template <Mattes kMattes>
void PassShader<kMattes>::storeNothing(std::ptrdiff_t pixel) const {
  constexpr glm::vec3 kNone(0.0F);
  depth_.put(pixel, std::numeric_limits<float>::infinity());
  tone_.put(pixel, 0.0F);
  position_.put(pixel, kNone);
  for (const Plane& plane : {color_, normal_, albedo_}) plane.put(pixel, kNone, 0.0F);
  for (const Plane& layer : objects_) layer.put(pixel, kNone, 0.0F);
  for (const Plane& layer : materials_) layer.put(pixel, kNone, 0.0F);
}

template class PassShader<Mattes::No>;
template class PassShader<Mattes::Yes>;

}  // namespace quillmere::render
