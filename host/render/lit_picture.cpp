#include "lit_picture.h"

namespace quillmere::render {

LitPixel LitPixel::with(const LitPixel& other) const {
  LitPixel both;
  both.samples = samples + other.samples;
  both.aroundSamples = aroundSamples + other.aroundSamples;
  const float share = samples / both.samples, rest = 1.0F - share;
  const float aroundShare = aroundSamples / both.aroundSamples, aroundRest = 1.0F - aroundShare;
  const auto mean = [&](const auto& mine, const auto& others) { return share * mine + rest * others; };
  const auto aroundMean = [&](const auto& mine, const auto& others) {
    return aroundShare * mine + aroundRest * others;
  };
  const auto error = [](float part, float mine, float others) {
    return part * part * mine + (1.0F - part) * (1.0F - part) * others;
  };
  both.chalk = mean(chalk, other.chalk);
  both.around = aroundMean(around, other.around);
  both.aroundAlbedo = aroundMean(aroundAlbedo, other.aroundAlbedo);
  both.albedo = mean(albedo, other.albedo);
  both.closeness = aroundMean(closeness, other.closeness);
  both.position = both.lit > 0.0F ? mean(lit * position, other.lit * other.position) / both.lit : glm::vec3(0.0F);
  both.coat = mean(coat, other.coat);
  both.mirror = aroundMean(mirror, other.mirror);
  both.mirrorCoat = aroundMean(mirrorCoat, other.mirrorCoat);
  both.emission = mean(emission, other.emission);
  both.own = mean(own, other.own);
  both.lit = mean(lit, other.lit);
  both.normal = normal + other.normal;
  both.depth = both.lit > 0.0F ? mean(lit * depth, other.lit * other.depth) / both.lit : 0.0F;
  both.chalkError = error(share, chalkError, other.chalkError);
  both.aroundError = error(aroundShare, aroundError, other.aroundError);
  both.mirrorError = error(aroundShare, mirrorError, other.mirrorError);
  both.edgeError = error(share, edgeError, other.edgeError);
  return both;
}

}  // namespace quillmere::render
