#pragma once

#include <glm/glm.hpp>

#include "four.h"
#include "lit_picture.h"

// What the grain's filter takes from pixel to pixel, in vectors of four.
namespace quillmere::render {

// What errors are multiplied with, of chalk, around and mirror: few samples of what is chosen by chance, and of what is
// all around, may all have missed what is rare and bright, and so tell of too little error. Of one lamp they tell the
// edges of shadows, which smoothing would blur.
constexpr Four errorScale(LampChoice choice) {
  return Four{choice == LampChoice::Places ? 8.0F : choice == LampChoice::Lamps ? 1.5F : 0.2F, 6.0F, 5.0F, 0.0F};
}
constexpr float kLeastAlbedo = 1e-3F;
constexpr float kLeastAlone = 0.1F;  // of errors of lamps' light, of what they would be if each sample stood alone
constexpr float kMostError = 1e30F;  // which also stands for what is no number

// Colours and vectors are kept as Fours whose last number is 0.
inline Four fourOf(glm::vec3 vector) {
  return Four{vector.x, vector.y, vector.z, 0.0F};
}
inline glm::vec3 vectorOf(Four of) {
  return {of[0], of[1], of[2]};
}
inline float dot3(Four a, Four b) {
  const Four products = a * b;
  return products[0] + products[1] + products[2];
}
inline float luminance(Four color) {
  return dot3(color, Four{0.2126F, 0.7152F, 0.0722F, 0.0F});
}
// The limit also where `four` is no number.
inline Four atMost(Four limit, Four four) {
  return chosen(four < limit, four, limit);
}
inline Four atLeast(Four limit, Four four) {
  return chosen(four > limit, four, limit);
}

// What of a fragment stays while its light is smoothed.
struct Feature {
  Four normal, position;                  // metres
  float depth, slope;                     // metres; metres a pixel
  float closeness;                        // of what is around, 1/metres
  float coat;                             // luminance of what the mirrored light is multiplied with: so bright it looks
  Four shares;                            // how many samples tell of chalk, around and mirror
  Four albedo, aroundAlbedo, mirrorCoat;  // in the mean of those, a little more than black
};

// Of chalk, around and mirror, in this order, how different their lights look, in numbers to be subtracted: else a
// highlight, far brighter than the display shows, would count its error among all pixels beside it.
inline Four look(Four luminances) {
  return luminances / (0.5F + luminances);
}
inline Four steepnessOfLook(Four luminances) {
  return 0.5F / ((0.5F + luminances) * (0.5F + luminances));
}

// What is smoothed, as it goes from level to level: chalk's light without its colour, and mirrored light.
struct Light {
  Four chalk, around, mirror;
  Four errors;  // of how the three look, variances
  Four looks;   // see Light::seen

  Four luminances(float coat) const {
    constexpr float kMost = 1e6F;  // more would overflow when squared
    return atMost(four(kMost), Four{luminance(chalk), luminance(around), coat * luminance(mirror), 0.0F});
  }
  // With how it looks, which every pixel beside it asks for.
  Light seen(float coat) const { return {chalk, around, mirror, errors, look(luminances(coat))}; }
};

inline Light lightOf(const LitFragment& fragment, float coat, Four scale) {
  Light light{
      fourOf(fragment.chalk.alone(fragment.chalkLight.all.weight)),
      fourOf(fragment.around.alone(fragment.aroundLight.weight)),
      fourOf(fragment.mirror.alone(fragment.mirrorLight.weight)),
      Four{fragment.chalkLight.error(kLeastAlone), fragment.aroundLight.error(), fragment.mirrorLight.error(), 0.0F},
      four(0.0F)};
  light.errors = atMost(four(kMostError), scale * light.errors);
  light.errors[2] *= coat * coat;
  const Four luminances = light.luminances(coat), steepness = steepnessOfLook(luminances);
  light.errors *= steepness * steepness;
  light.looks = look(luminances);
  return light;
}

// A weighted mean of lights, each of the three with weights of its own.
class LightMean {
 public:
  // Black tells nothing of its light.
  void add(const Light& light, const Feature& feature, Four similarity) {
    const Four weight = similarity * feature.shares;
    const Four chalk = weight[0] * feature.albedo, around = weight[1] * feature.aroundAlbedo;
    const Four mirror = weight[2] * feature.mirrorCoat;
    sum_.chalk += chalk * light.chalk;
    chalks_ += chalk;
    sum_.around += around * light.around;
    arounds_ += around;
    sum_.mirror += mirror * light.mirror;
    mirrors_ += mirror;
    sum_.errors += weight * weight * light.errors;
    weights_ += weight;
  }
  Light mean() const {
    return {sum_.chalk / chalks_, sum_.around / arounds_, sum_.mirror / mirrors_, sum_.errors / (weights_ * weights_),
            four(0.0F)};
  }

 private:
  Light sum_{};
  Four chalks_ = kLeast, arounds_ = kLeast, mirrors_ = kLeast, weights_ = kLeast;

  // Fragments that can't be seen have no weight, and then no light.
  static constexpr Four kLeast{1e-15F, 1e-15F, 1e-15F, 1.0F};
};

}  // namespace quillmere::render
