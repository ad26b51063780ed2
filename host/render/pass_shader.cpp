#include "pass_shader.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <tuple>

namespace quillmere::render {
namespace {

constexpr float kSeen = 0.5F;  // of a sample that a surface has to stop, together with those in front of it

void put(image::Image& plane, int x, int y, std::initializer_list<float> values) {
  if (!plane.empty()) std::copy(values.begin(), values.end(), plane.pixel<float>(x, y));
}

void put(image::Image& plane, int x, int y, glm::vec3 rgb, float alpha) {
  put(plane, x, y, {rgb.x, rgb.y, rgb.z, alpha});
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

void MatteSum::store(std::vector<image::Image>& layers, float whole, int x, int y) const {
  if (count_ == 1 && !layers.empty()) {  // as in most pixels
    float* ranks = layers.front().pixel<float>(x, y);
    ranks[0] = std::bit_cast<float>(shares_.front().id);
    ranks[1] = std::min(1.0F, shares_.front().weight / whole);
    return;
  }
  std::array<Share, 8> shares;
  const auto end = std::copy_n(shares_.begin(), count_, shares.begin());
  const auto isLess = [](const Share& a, const Share& b) {
    return std::make_tuple(a.weight, b.id) < std::make_tuple(b.weight, a.id);
  };
  auto next = shares.begin();
  for (image::Image& layer : layers) {
    float* ranks = layer.pixel<float>(x, y);
    for (const int rank : {0, 2}) {
      if (next == end) return;
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
      request_(request),
      target_(target),
      toCamera_(glm::transpose(glm::mat3(picture.camera.toWorld))),
      inverse_(request.tone.kind == DepthTone::Kind::Inverse),
      orthographic_(picture.camera.orthographic),
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
  if (target_.quick != nullptr) {
    target_.quick->light(layer, [&](int ray) -> QuickShader::Sum& { return sums[layer.block.summedAt(ray)].quick; });
  }
  const auto sumOf = [&](int ray) -> Seen& {
    std::optional<Seen>& held = sums[layer.block.summedAt(ray)].seen;
    return held ? *held : held.emplace();
  };
  RaySet seen = 0;
  forEachRay(layer.met, [&](int ray) {
    const float weight = layer.weight[ray], reaching = layer.reaching[ray];
    if (reaching <= kSeen || reaching - weight > kSeen) return;
    if (scene_.instances()[layer.surface.instance[layer.pointOf[ray]]].sky) return;
    addSeen(layer, ray, sumOf(ray));
    seen |= setOf(ray);
  });
  forEachRay(layer.points, [&](int at) { addPoint(layer, at, layer.weightAt[at], sumOf(at)); });
  return toTheEnd_ ? 0 : seen;
}

// The place of a sample is its own: those of one pixel may share a point of the surface.
template <Mattes kMattes>
void PassShader<kMattes>::addSeen(const Layer& layer, int ray, Seen& seen) const {
  const float depth = layer.rays.hit(ray).distance, inverse = 1.0F / depth;
  seen.samples += 1.0F;
  seen.normal += layer.surface.normal[layer.pointOf[ray]];
  seen.tone += std::clamp(toneOffset_ + toneScale_ * (inverse_ ? inverse : depth), 0.0F, 1.0F);
  seen.evenDepth += orthographic_ ? depth : inverse;
  if (!(depth < seen.nearest)) return;
  seen.nearest = depth;
  seen.position = layer.rays.origin(ray) + depth * layer.rays.direction(ray);
}

// What all rays that share the point see alike.
template <Mattes kMattes>
void PassShader<kMattes>::addPoint(const Layer& layer, int at, float weight, Seen& seen) const {
  seen.alpha += weight;
  seen.albedo += weight * layer.surface.color[at];
  if constexpr (kMattes == Mattes::Yes) {
    const auto& [object, material] = ids_[layer.surface.instance[at]];
    if (!target_.passes.objects.empty()) seen.mattes.objects.add(object, weight);
    if (!target_.passes.materials.empty()) seen.mattes.materials.add(material, weight);
  }
}

template <Mattes kMattes>
void PassShader<kMattes>::store(const Sum& sum, float samples, int x, int y) const {
  Passes& passes = target_.passes;
  if (target_.quick != nullptr) target_.quick->store(sum.quick, samples, x, y);
  if (!sum.seen) return put(passes.depth, x, y, {std::numeric_limits<float>::infinity()});  // all else is 0
  const Seen& seen = *sum.seen;
  const float alpha = std::min(1.0F, seen.alpha / samples), coverage = seen.samples / samples;
  put(passes.color, x, y, sum.quick.surfaces / samples, alpha);
  put(passes.depth, x, y, {seen.nearest});
  put(passes.tone, x, y, {seen.tone / samples});
  if (!passes.normal.empty()) put(passes.normal, x, y, toCamera_ * unit(seen.normal), coverage);
  put(passes.position, x, y, {seen.position.x, seen.position.y, seen.position.z});
  put(passes.albedo, x, y, seen.albedo / samples, alpha);
  put(target_.ground.shape, x, y, seen.normal / samples, seen.evenDepth / std::max(1.0F, seen.samples));
  if constexpr (kMattes == Mattes::Yes) {
    seen.mattes.objects.store(passes.objects, samples, x, y);
    seen.mattes.materials.store(passes.materials, samples, x, y);
  }
}

template class PassShader<Mattes::No>;
template class PassShader<Mattes::Yes>;

}  // namespace quillmere::render
