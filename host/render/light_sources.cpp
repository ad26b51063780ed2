#include "light_sources.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "processors.h"

namespace quillmere::render {
namespace {

using Kind = scene::Light::Kind;

struct Gradient {
  glm::vec3 zenith, horizon, ground;
};

constexpr Gradient kRadiance{{0.25F, 0.32F, 0.44F}, {0.48F, 0.50F, 0.52F}, {0.175F, 0.17F, 0.16F}};
constexpr Gradient kBackdrop{{0.16F, 0.34F, 0.66F}, {0.68F, 0.79F, 0.88F}, {0.44F, 0.47F, 0.50F}};

glm::vec3 at(const Gradient& gradient, float height) {
  if (height >= 0.0F) return glm::mix(gradient.horizon, gradient.zenith, std::sqrt(height));
  return glm::mix(gradient.horizon, gradient.ground, glm::smoothstep(0.0F, 0.25F, -height));
}

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kMostStops = 40.0F;    // either way, which a float still holds
constexpr float kSunRadius = 0.0093F;  // twice the real one, radians
constexpr float kDusk = 0.35F;         // strength of the sky over a scene that is lit by lamps only
// With the sky, white that faces the sun sends back 0.85: the view transform leaves it and all below in peace.
constexpr glm::vec3 kSunColor(0.60F, 0.56F, 0.50F);
constexpr glm::vec3 kSunTravel(-0.48F, -0.74F, -0.47F);

scene::Light defaultSun(float stops) {
  scene::Light sun;
  sun.kind = Kind::Directional;
  sun.color = kSunColor * stops;
  sun.direction = glm::normalize(kSunTravel);
  return sun;
}

// The window of KHR_lights_punctual that brings a light to nothing at its range.
float fading(const scene::Light& light, float squaredDistance) {
  if (light.range <= 0.0F) return 1.0F;
  const float ratio = squaredDistance / (light.range * light.range);
  return std::clamp(1.0F - ratio * ratio, 0.0F, 1.0F);
}

// The cone of KHR_lights_punctual.
float coneShare(const scene::Light& light, glm::vec3 towards) {
  if (light.kind != Kind::Spot) return 1.0F;
  const float inner = std::cos(light.innerCone), outer = std::cos(light.outerCone);
  const float share = (glm::dot(light.direction, -towards) - outer) / std::max(0.001F, inner - outer);
  const float clamped = std::clamp(share, 0.0F, 1.0F);
  return clamped * clamped;
}

// Of a clear day.
float skyStrength(const std::vector<scene::Light>& lights) {
  const auto isLamp = [](const scene::Light& light) { return light.kind != Kind::Directional; };
  return !lights.empty() && std::ranges::all_of(lights, isLamp) ? kDusk : 1.0F;
}

// A direction to a far disc whose light travels along `direction`, to which `axes` are across.
inline glm::vec3 towardsFar(const Across& axes, glm::vec3 direction, glm::vec2 random) {
  const glm::vec2 disc = onDisc(random);
  return glm::normalize((axes.u * disc.x + axes.v * disc.y) * kSunRadius - direction);
}

// Sixteen of them.
QUILLMERE_FOR_AVX2
void findTowardsFar(const Across& axes, glm::vec3 direction, const SamplePoints& random,
                    VectorPerRay& __restrict towards) {
  for (int ray = 0; ray < kRays; ++ray) towards.set(ray, towardsFar(axes, direction, random[ray]));
}

}  // namespace

LightSources::LightSources(const RayScene& scene, const FinalSettings& settings, float exposure)
    : background_(settings.background), stops_(std::exp2(std::clamp(settings.exposure, -kMostStops, kMostStops))) {
  const std::vector<scene::Light>& own = scene.snapshot().lights;
  if (settings.light != Lighting::None) lights_ = own;
  for (scene::Light& light : lights_) light.color *= exposure * stops_;
  bulbRadius_ = std::min(bulbRadius_, 0.01F * scene.solidRadius());
  if (settings.panorama) {
    panorama_.emplace(*settings.panorama, stops_);
  } else {
    skyStrength_ = settings.light == Lighting::Scene ? 0.0F : skyStrength(lights_) * stops_;
  }
  if (own.empty() && settings.light == Lighting::Default && !panorama_) lights_.push_back(defaultSun(stops_));
  for (const scene::Light& light : lights_) axes_.push_back(across(-light.direction));
}

LightSample LightSources::sample(int index, glm::vec3 at, glm::vec2 random) const {
  const scene::Light& light = lights_[static_cast<std::size_t>(index)];
  if (light.kind == Kind::Directional) {
    return {towardsFar(axes_[static_cast<std::size_t>(index)], light.direction, random), kInfinity, light.color};
  }
  const glm::vec2 disc = onDisc(random);
  const glm::vec3 center = light.position - at;
  const float squared = std::max(glm::dot(center, center), 1e-12F);
  const Across axes = across(center / std::sqrt(squared));
  const glm::vec3 way = center + (axes.u * disc.x + axes.v * disc.y) * bulbRadius_;
  const float distance = std::max(glm::length(way), 1e-6F);
  const glm::vec3 towards = way / distance;
  return {towards, distance, light.color * (fading(light, squared) * coneShare(light, towards) / squared)};
}

void LightSources::sampleAll(int index, const VectorPerRay& at, RaySet which, const SamplePoints& random,
                             LightSamples& samples) const {
  const scene::Light& light = lights_[static_cast<std::size_t>(index)];
  findTowardsFar(axes_[static_cast<std::size_t>(index)], light.direction, random, samples.direction);
  for (int ray = 0; ray < kRays; ++ray) {
    samples.arriving.set(ray, light.color);
    samples.distance[ray] = kInfinity;
  }
  if (light.kind == Kind::Directional) return;
  forEachRay(which, [&](int ray) {
    const LightSample sample = this->sample(index, at[ray], random[ray]);
    samples.direction.set(ray, sample.direction);
    samples.arriving.set(ray, sample.arriving);
    samples.distance[ray] = sample.distance;
  });
}

LightSample LightSources::middle(int index, glm::vec3 at) const {
  const scene::Light& light = lights_[static_cast<std::size_t>(index)];
  if (light.kind == Kind::Directional) return {-light.direction, kInfinity, light.color};
  const glm::vec3 way = light.position - at;
  const float squared = std::max(glm::dot(way, way), 1e-12F), distance = std::sqrt(squared);
  const glm::vec3 towards = way / distance;
  return {towards, distance, light.color * (fading(light, squared) * coneShare(light, towards) / squared)};
}

glm::vec3 LightSources::sky(glm::vec3 direction) const {
  return panorama_ ? panorama_->radiance(direction) : skyStrength_ * at(kRadiance, direction.y);
}

glm::vec3 LightSources::ambient() const {
  return panorama_ ? 0.25F * panorama_->mean() : skyStrength_ * 0.25F * kRadiance.horizon;
}

Backdrop LightSources::backdrop(glm::vec3 direction) const {
  if (background_) return {Backdrop::Holds::Display, *background_};
  if (panorama_) return {Backdrop::Holds::Radiance, panorama_->radiance(direction)};
  const float dimmed = std::sqrt(skyStrength_ > 0.0F ? skyStrength_ / stops_ : 1.0F);
  return {Backdrop::Holds::Display, glm::min(dimmed * stops_ * at(kBackdrop, direction.y), 1.0F)};
}

}  // namespace quillmere::render
