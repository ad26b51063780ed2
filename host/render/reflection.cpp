#include "reflection.h"

#include <algorithm>
#include <cmath>
#include <glm/gtc/constants.hpp>

#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr float kDielectric = 0.04F;  // what anything but metal mirrors at least
constexpr float kLeastAlpha = 1e-3F;  // of a mirror
constexpr float kLeastCosine = 1e-3F;
constexpr float kMatt = 0.85F;        // roughness from which chalk's choices serve the coat as well
constexpr float kLeastShare = 0.15F;  // of the choices for a coat that shines

float luminance(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

float fifth(float x) {
  return x * x * x * x * x;
}

// How many facets of GGX's face `cosine` away from the normal, per steradian.
float facets(float cosine, float alpha) {
  const float squared = alpha * alpha, base = cosine * cosine * (squared - 1.0F) + 1.0F;
  return squared / (glm::pi<float>() * base * base);
}

// Smith's root for one direction.
float root(float cosine, float alpha) {
  return std::sqrt(alpha * alpha + (1.0F - alpha * alpha) * cosine * cosine);
}

}  // namespace

Reflection::Reflection(const SurfacePoints& points, int at, glm::vec3 viewer)
    : normal_(points.normal[at]),
      viewer_(viewer),
      straight_(glm::mix(glm::vec3(kDielectric), points.color[at], points.finish[at].metallic)),
      alpha_(std::max(kLeastAlpha, points.finish[at].roughness * points.finish[at].roughness)),
      cosine_(std::max(kLeastCosine, glm::dot(normal_, viewer))),
      grazing_(fifth(1.0F - cosine_)) {
  const float mirrored = luminance(straight_) + (1.0F - luminance(straight_)) * grazing_;
  const float diffuse = luminance(chalk(points, at)) * (1.0F - mirrored);
  const bool matt = points.finish[at].roughness > kMatt && points.finish[at].metallic < 0.5F;
  mirrorShare_ = matt ? 0.0F : std::max(kLeastShare, mirrored / std::max(1e-6F, mirrored + diffuse));
}

Reflection::Sent Reflection::sent(glm::vec3 towards, float leastRoughness) const {
  const float cosine = glm::dot(normal_, towards);
  if (cosine <= 0.0F) return {0.0F, glm::vec3(0.0F)};
  const glm::vec3 between = viewer_ + towards;
  const float length = glm::length(between);
  if (!(length > 0.0F)) return {cosine, glm::vec3(0.0F)};
  const glm::vec3 half = between / length;
  const float alpha = std::max(alpha_, leastRoughness * leastRoughness);
  const float grazing = fifth(1.0F - std::clamp(glm::dot(viewer_, half), 0.0F, 1.0F));
  const float visible = 0.5F / (cosine * root(cosine_, alpha) + cosine_ * root(cosine, alpha));
  const float lobe = facets(std::clamp(glm::dot(normal_, half), 0.0F, 1.0F), alpha) * visible * cosine;
  const glm::vec3 fresnel = straight_ + (1.0F - straight_) * grazing;
  const float dielectric = kDielectric + (1.0F - kDielectric) * grazing;
  return {cosine * (1.0F - dielectric), fresnel * (lobe * glm::pi<float>())};
}

// A facet that the viewer sees (J. Dupuy, A. Benyoub, Sampling Visible GGX Normals with Spherical Caps, 2023).
glm::vec3 Reflection::facet(glm::vec2 random) const {
  const Across axes = across(normal_);
  const glm::vec3 local(glm::dot(axes.u, viewer_), glm::dot(axes.v, viewer_), cosine_);
  const glm::vec3 stretched = glm::normalize(glm::vec3(local.x * alpha_, local.y * alpha_, local.z));
  const glm::vec2 around = onCircle(random.x);
  const float height = (1.0F - random.y) * (1.0F + stretched.z) - stretched.z;
  const float width = std::sqrt(std::clamp(1.0F - height * height, 0.0F, 1.0F));
  const glm::vec3 cap = glm::vec3(width * around, height) + stretched;
  const glm::vec3 facet = glm::normalize(glm::vec3(cap.x * alpha_, cap.y * alpha_, std::max(cap.z, 1e-6F)));
  return axes.u * facet.x + axes.v * facet.y + normal_ * facet.z;
}

glm::vec3 Reflection::chosen(glm::vec2 random, float which) const {
  if (which >= mirrorShare_) return overHemisphere(normal_, random);
  const glm::vec3 half = facet(random);
  return glm::normalize(2.0F * glm::dot(viewer_, half) * half - viewer_);
}

float Reflection::density(glm::vec3 towards) const {
  const float chalk = std::max(0.0F, glm::dot(normal_, towards)) / glm::pi<float>();
  if (mirrorShare_ <= 0.0F) return chalk;
  const glm::vec3 between = viewer_ + towards;
  const float length = glm::length(between);
  if (!(length > 0.0F)) return chalk;
  const float cosine = std::clamp(glm::dot(normal_, between) / length, 0.0F, 1.0F);
  const float mirror = facets(cosine, alpha_) / (2.0F * (cosine_ + root(cosine_, alpha_)));
  return glm::mix(chalk, mirror, mirrorShare_);
}

}  // namespace quillmere::render
