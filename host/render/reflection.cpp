#include "reflection.h"

#include <algorithm>
#include <cmath>
#include <glm/gtc/constants.hpp>

#include "processors.h"

namespace quillmere::render {
namespace {

constexpr float kDielectric = 0.04F;  // what anything but metal mirrors at least
constexpr float kLeastAlpha = 1e-3F;  // of a mirror
constexpr float kLeastCosine = 1e-3F;
constexpr float kMatt = 0.85F;        // roughness from which chalk's choices serve the coat as well
constexpr float kLeastShare = 0.15F;  // of the choices for a coat that shines

inline float luminance(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

inline float fifth(float x) {
  return x * x * x * x * x;
}

// As std::clamp, whose references keep a loop from becoming vector code.
inline float unitClamped(float x) {
  return x < 0.0F ? 0.0F : x > 1.0F ? 1.0F : x;
}

// How many facets of GGX's face `cosine` away from the normal, per steradian.
inline float facets(float cosine, float alpha) {
  const float squared = alpha * alpha, base = cosine * cosine * (squared - 1.0F) + 1.0F;
  return squared / (glm::pi<float>() * base * base);
}

// Smith's root for one direction.
inline float root(float cosine, float alpha) {
  return std::sqrt(alpha * alpha + (1.0F - alpha * alpha) * cosine * cosine);
}

}  // namespace

// One point. What it tells has no branches, so that loops over points become vector code.
struct Reflections::One {
  glm::vec3 normal, viewer, straight;
  float alpha, cosine, grazing, mirrorShare;

  struct Sent {
    float chalk;
    glm::vec3 mirror;
  };
  Sent sent(glm::vec3 towards, float leastRoughness) const {
    const float facing = glm::dot(normal, towards);
    const glm::vec3 between = viewer + towards;
    const float length = glm::length(between);
    const bool lit = facing > 0.0F, halved = length > 0.0F, shines = lit & halved;
    const glm::vec3 half = between / (halved ? length : 1.0F);
    const float least = leastRoughness * leastRoughness, wide = alpha > least ? alpha : least;
    const float slant = fifth(1.0F - unitClamped(glm::dot(viewer, half)));
    const float visible = 0.5F / (facing * root(cosine, wide) + cosine * root(facing, wide));
    const float lobe = facets(unitClamped(glm::dot(normal, half)), wide) * visible * facing * glm::pi<float>();
    const float mirrors = shines ? lobe : 0.0F;
    const float left = 1.0F - (halved ? kDielectric + (1.0F - kDielectric) * slant : 0.0F);
    return {lit ? facing * left : 0.0F, (straight + (1.0F - straight) * slant) * mirrors};
  }

  // A facet that the viewer sees (J. Dupuy, A. Benyoub, Sampling Visible GGX Normals with Spherical Caps, 2023).
  glm::vec3 facet(glm::vec2 random) const {
    const Across axes = across(normal);
    const glm::vec3 local(glm::dot(axes.u, viewer), glm::dot(axes.v, viewer), cosine);
    const glm::vec3 stretched = glm::normalize(glm::vec3(local.x * alpha, local.y * alpha, local.z));
    const glm::vec2 around = onCircle(random.x);
    const float height = (1.0F - random.y) * (1.0F + stretched.z) - stretched.z;
    const float width = std::sqrt(unitClamped(1.0F - height * height));
    const glm::vec3 cap = glm::vec3(width * around, height) + stretched;
    const glm::vec3 facet = glm::normalize(glm::vec3(cap.x * alpha, cap.y * alpha, cap.z > 1e-6F ? cap.z : 1e-6F));
    return axes.u * facet.x + axes.v * facet.y + normal * facet.z;
  }

  glm::vec3 mirroring(glm::vec2 random) const {
    const glm::vec3 half = facet(random);
    return glm::normalize(2.0F * glm::dot(viewer, half) * half - viewer);
  }

  float density(glm::vec3 towards) const {
    const float facing = glm::dot(normal, towards);
    const float chalk = (facing > 0.0F ? facing : 0.0F) / glm::pi<float>();
    const glm::vec3 between = viewer + towards;
    const float length = glm::length(between);
    const float tilt = unitClamped(glm::dot(normal, between) / length);
    const float mirror = facets(tilt, alpha) / (2.0F * (cosine + root(cosine, alpha)));
    return mirrorShare > 0.0F && length > 0.0F ? glm::mix(chalk, mirror, mirrorShare) : chalk;
  }
};

inline Reflections::One Reflections::one(int at) const {
  return {of_.normal[at], of_.viewer[at],  of_.straight[at],   of_.alpha[at],
          of_.cosine[at], of_.grazing[at], of_.mirrorShare[at]};
}

Reflections::Reflections(const SurfacePoints& points, RaySet which, const VectorPerRay& directions) {
  Look look{};
  forEachRay(which, [&](int at) {
    look.normal.set(at, points.normal[at]);
    look.direction.set(at, directions[at]);
    look.color.set(at, points.color[at]);
    look.metallic[at] = points.finish[at].metallic;
    look.roughness[at] = points.finish[at].roughness;
  });
  workOut(look);
}

QUILLMERE_FOR_AVX2
void Reflections::workOut(const Look& look) {
  Values& __restrict found = of_;
  for (int at = 0; at < kRays; ++at) {
    const glm::vec3 normal = look.normal[at], viewer = -glm::normalize(look.direction[at]), color = look.color[at];
    const float metal = look.metallic[at], roughness = look.roughness[at], alpha = roughness * roughness;
    const glm::vec3 straight = glm::mix(glm::vec3(kDielectric), color, metal);
    const float facing = glm::dot(normal, viewer), cosine = facing > kLeastCosine ? facing : kLeastCosine;
    const float grazing = fifth(1.0F - cosine);
    const float mirrored = luminance(straight) + (1.0F - luminance(straight)) * grazing;
    const float both = mirrored + luminance(color * (1.0F - metal)) * (1.0F - mirrored);
    const float share = mirrored / (both > 1e-6F ? both : 1e-6F);
    const bool matt = (roughness > kMatt) & (metal < 0.5F);
    found.normal.set(at, normal);
    found.viewer.set(at, viewer);
    found.straight.set(at, straight);
    found.alpha[at] = alpha > kLeastAlpha ? alpha : kLeastAlpha;
    found.cosine[at] = cosine;
    found.grazing[at] = grazing;
    found.mirrorShare[at] = matt ? 0.0F : share > kLeastShare ? share : kLeastShare;
  }
}

void Reflections::findCoats(VectorPerRay& coats) const {
  for (int at = 0; at < kRays; ++at) {
    coats.set(at, of_.straight[at] + (1.0F - of_.straight[at]) * (of_.grazing[at] * (1.0F - of_.alpha[at])));
  }
}

QUILLMERE_FOR_AVX2
void Reflections::findSent(const VectorPerRay& towards, float leastRoughness, Sent& __restrict sent) const {
  for (int at = 0; at < kRays; ++at) {
    const One::Sent back = one(at).sent(towards[at], leastRoughness);
    sent.chalk[at] = back.chalk;
    sent.mirror.set(at, back.mirror);
  }
}

glm::vec3 Reflections::mirrored(int at, glm::vec3 towards, float leastRoughness) const {
  return one(at).sent(towards, leastRoughness).mirror;
}

QUILLMERE_FOR_AVX2
void Reflections::choose(const SamplePoints& places, const SamplePoints& choices,
                         VectorPerRay& __restrict towards) const {
  for (int at = 0; at < kRays; ++at) {
    const glm::vec3 mirroring = one(at).mirroring(places[at]), sending = overHemisphere(of_.normal[at], places[at]);
    const bool mirrors = choices.x[at] < of_.mirrorShare[at];
    towards.x[at] = mirrors ? mirroring.x : sending.x;
    towards.y[at] = mirrors ? mirroring.y : sending.y;
    towards.z[at] = mirrors ? mirroring.z : sending.z;
  }
}

QUILLMERE_FOR_AVX2
void Reflections::findDensities(const VectorPerRay& towards, PerRay<float>& __restrict densities) const {
  for (int at = 0; at < kRays; ++at) densities[at] = one(at).density(towards[at]);
}

}  // namespace quillmere::render
