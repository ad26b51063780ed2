#include "pass_shader.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <tuple>

namespace quillmere::render {
namespace {

constexpr RaySet kOnePerPixel = 0x1111;  // the points of a block of two by two pixels of which each met one triangle
constexpr float kSeen = 0.5F;            // of a sample that a surface has to stop, together with those in front of it

std::vector<Plane> planesOf(std::vector<image::Image>& pictures) {
  return {pictures.begin(), pictures.end()};
}

glm::vec3 unit(glm::vec3 direction) {
  const float length = glm::length(direction);
  return length > 1e-6F ? direction / length : glm::vec3(0.0F);
}

}  // namespace

void MatteSum::add(std::uint32_t id, float weight) {
  for (int i = 0; i < count_; ++i) {
    Share& share = shares_[static_cast<std::size_t>(i)];
    if (share.id != id) continue;
    share.weight += weight;
    return;
  }
  const auto room = static_cast<std::size_t>(count_);
  if (room < shares_.size()) {
    shares_[room] = {id, weight};
    ++count_;
    return;
  }
  const auto least = std::ranges::min_element(shares_, {}, &Share::weight);
  if (least->weight < weight) *least = {id, weight};
}

MatteSum& MatteSum::operator+=(const MatteSum& other) {
  for (int i = 0; i < other.count_; ++i) {
    const Share& share = other.shares_[static_cast<std::size_t>(i)];
    add(share.id, share.weight);
  }
  return *this;
}

void MatteSum::store(const std::vector<Plane>& layers, float whole, std::ptrdiff_t pixel) const {
  if (count_ == 1) {  // as in most pixels
    const Share& only = shares_.front();
    for (const Plane& layer : layers) layer.put(pixel, glm::vec3(0.0F), 0.0F);
    if (layers.empty()) return;
    float* const ranks = layers.front().at(pixel);
    ranks[0] = std::bit_cast<float>(only.id);
    ranks[1] = std::min(1.0F, only.weight / whole);
    return;
  }
  std::array<Share, 8> shares;
  const auto end = std::copy_n(shares_.begin(), count_, shares.begin());
  const auto isLess = [](const Share& a, const Share& b) {
    return std::make_tuple(a.weight, b.id) < std::make_tuple(b.weight, a.id);
  };
  auto next = shares.begin();
  for (const Plane& layer : layers) {
    float* ranks = layer.at(pixel);
    for (const int rank : {0, 2}) {
      ranks[rank] = ranks[rank + 1] = 0.0F;
      if (next == end) continue;
      std::iter_swap(next, std::max_element(next, end, isLess));
      ranks[rank] = std::bit_cast<float>(next->id);
      ranks[rank + 1] = std::min(1.0F, next++->weight / whole);
    }
  }
}

template <Mattes kMattes>
typename PassShader<kMattes>::Seen& PassShader<kMattes>::Seen::operator+=(const Seen& other) {
  albedo += other.albedo;
  normal += other.normal;
  alpha += other.alpha;
  samples += other.samples;
  tone += other.tone;
  evenDepth += other.evenDepth;
  if (other.nearest < nearest) {
    nearest = other.nearest;
    position = other.position;
  }
  mattes += other.mattes;
  return *this;
}

template <Mattes kMattes>
typename PassShader<kMattes>::Sum& PassShader<kMattes>::Sum::operator+=(const Sum& other) {
  quick += other.quick;
  if (other.seen && seen) *seen += *other.seen;
  if (other.seen && !seen) seen = other.seen;
  return *this;
}

template <Mattes kMattes>
PassShader<kMattes>::PassShader(const PictureRequest& picture, const PassRequest& request, PassIds ids,
                                PassTarget target)
    : scene_(picture.scene),
      quick_(target.quick),
      width_(picture.width),
      color_(target.passes.color),
      depth_(target.passes.depth),
      tone_(target.passes.tone),
      normal_(target.passes.normal),
      position_(target.passes.position),
      albedo_(target.passes.albedo),
      shape_(target.ground.shape),
      objects_(planesOf(target.passes.objects)),
      materials_(planesOf(target.passes.materials)),
      toCamera_(glm::transpose(glm::mat3(picture.camera.toWorld))),
      inverse_(request.tone.kind == DepthTone::Kind::Inverse),
      orthographic_(picture.camera.orthographic),
      looksAtSurfaces_(depth_ || normal_ || position_ || shape_),
      toTheEnd_(target.quick != nullptr || kMattes == Mattes::Yes || request.passes.has(Pass::Albedo)) {
  const float near = inverse_ ? 1.0F / request.tone.range.near : request.tone.range.near;
  const float far = inverse_ ? 1.0F / request.tone.range.far : request.tone.range.far;
  toneScale_ = 1.0F / (near - far);
  toneOffset_ = -far * toneScale_;
  for (const Instance& instance : scene_.instances()) {
    ids_.emplace_back(ids.objects[static_cast<std::size_t>(instance.surface->object)],
                      ids.materials[static_cast<std::size_t>(instance.surface->material)]);
  }
}

template <Mattes kMattes>
RaySet PassShader<kMattes>::shade(const Layer& layer, PerRay<Sum>& sums) const {
  const auto sumOf = [&](int ray) -> Sum& { return sums[layer.block.summedAt(ray)]; };
  if (quick_ != nullptr) quick_->light(layer, [&](int ray) -> QuickShader::Sum& { return sumOf(ray).quick; });
  const auto seenOf = [&](int ray) -> Seen& {
    std::optional<Seen>& held = sumOf(ray).seen;
    return held ? *held : held.emplace();
  };
  const RaySet seen = seenIn(layer);
  const Depths depths = depthsOf(layer);
  for (RaySet open = looksAtSurfaces_ ? seen : 0; open != 0;) {
    const int ray = std::countr_zero(open);
    const RaySet beside = open & layer.block.raysBeside(ray);
    addSeen(layer, beside, depths, seenOf(ray));
    open &= ~beside;
  }
  forEachRay(layer.points, [&](int at) { addPoint(layer, at, seenOf(at)); });
  return toTheEnd_ ? 0 : seen;
}

// The rays whose samples are stopped by this layer, together with those in front of it, and not by those alone.
template <Mattes kMattes>
RaySet PassShader<kMattes>::seenIn(const Layer& layer) const {
  RaySet stopped = 0, sky = 0;
  for (int ray = 0; ray < kRays; ++ray) {
    const float reaching = layer.reaching[ray], left = reaching - layer.weight[ray];
    stopped |= static_cast<RaySet>(reaching > kSeen && left <= kSeen) << ray;
  }
  forEachRay(layer.points, [&](int at) {
    if (scene_.instances()[layer.surface.instance[at]].sky) sky |= setOf(at);
  });
  stopped &= layer.met;
  if (sky == 0) return stopped;
  forEachRay(stopped, [&](int ray) {
    if ((sky & setOf(layer.pointOf[ray])) != 0) stopped &= ~setOf(ray);
  });
  return stopped;
}

template <Mattes kMattes>
typename PassShader<kMattes>::Depths PassShader<kMattes>::depthsOf(const Layer& layer) const {
  Depths depths;
  for (int ray = 0; ray < kRays && tone_; ++ray) {
    const float depth = layer.rays.hit(ray).distance;
    depths.tones[ray] = std::clamp(toneOffset_ + toneScale_ * (inverse_ ? 1.0F / depth : depth), 0.0F, 1.0F);
  }
  for (int ray = 0; ray < kRays && shape_; ++ray) {
    const float depth = layer.rays.hit(ray).distance;
    depths.even[ray] = orthographic_ ? depth : 1.0F / depth;
  }
  return depths;
}

// The place of a sample is its own: those of one pixel may share a point of the surface.
template <Mattes kMattes>
void PassShader<kMattes>::addSeen(const Layer& layer, RaySet rays, const Depths& depths, Seen& seen) const {
  float samples = 0.0F, tone = 0.0F, even = 0.0F, nearest = seen.nearest;  // which the compiler keeps at hand
  const int first = std::countr_zero(rays), at = layer.pointOf[first];
  const bool bends = normal_ || shape_, onOne = layer.points == kOnePerPixel;
  glm::vec3 normal(0.0F);
  int nearestRay = -1;
  forEachRay(rays, [&](int ray) {
    samples += 1.0F;
    if (bends && !onOne) normal += layer.surface.normal[layer.pointOf[ray]];
    if (tone_) tone += depths.tones[ray];
    if (shape_) even += depths.even[ray];
    const float depth = layer.rays.hit(ray).distance;
    if (!(depth < nearest)) return;
    nearest = depth;
    nearestRay = ray;
  });
  if (bends && onOne) normal = samples * layer.surface.normal[at];
  seen.samples += samples;
  seen.normal += normal;
  seen.tone += tone;
  seen.evenDepth += even;
  seen.nearest = nearest;
  if (!position_ || nearestRay < 0) return;
  seen.position = layer.rays.origin(nearestRay) + nearest * layer.rays.direction(nearestRay);
}

// What all rays that share the point see alike.
template <Mattes kMattes>
void PassShader<kMattes>::addPoint(const Layer& layer, int at, Seen& seen) const {
  const float weight = layer.weightAt[at];
  seen.alpha += weight;
  if (albedo_) seen.albedo += weight * layer.surface.color[at];
  if constexpr (kMattes == Mattes::Yes) {
    const auto& [object, material] = ids_[layer.surface.instance[at]];
    if (!objects_.empty()) seen.mattes.objects.add(object, weight);
    if (!materials_.empty()) seen.mattes.materials.add(material, weight);
  }
}

template <Mattes kMattes>
void PassShader<kMattes>::store(const Sum& sum, float samples, int x, int y) const {
  if (quick_ != nullptr) quick_->store(sum.quick, samples, x, y);
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
  if (shape_) shape_.put(pixel, seen.normal * each, seen.evenDepth / std::max(1.0F, seen.samples));
  if constexpr (kMattes == Mattes::Yes) {
    seen.mattes.objects.store(objects_, samples, pixel);
    seen.mattes.materials.store(materials_, samples, pixel);
  }
}

template <Mattes kMattes>
void PassShader<kMattes>::storeNothing(std::ptrdiff_t pixel) const {
  constexpr glm::vec3 kNone(0.0F);
  depth_.put(pixel, std::numeric_limits<float>::infinity());
  tone_.put(pixel, 0.0F);
  position_.put(pixel, kNone);
  for (const Plane& plane : {color_, normal_, albedo_, shape_}) plane.put(pixel, kNone, 0.0F);
  for (const Plane& layer : objects_) layer.put(pixel, kNone, 0.0F);
  for (const Plane& layer : materials_) layer.put(pixel, kNone, 0.0F);
}

template class PassShader<Mattes::No>;
template class PassShader<Mattes::Yes>;

}  // namespace quillmere::render
