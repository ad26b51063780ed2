#include "light_filter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "filtered_light.h"
#include "fragment_row.h"

namespace quillmere::render {
namespace {

// An edge-avoiding wavelet filter with weights from the error of each pixel (H. Dammertz et al., Edge-Avoiding
// A-Trous Wavelet Transform for fast Global Illumination Filtering, HPG 2010; C. Schied et al., Spatiotemporal
// Variance-Guided Filtering, HPG 2017).
constexpr int kLevels = 3;        // of kernels of three by three, each twice as wide
constexpr int kLevelsToLook = 2;  // for a first look at how much grain stays
constexpr float kNormalPower = 96.0F;
constexpr float kDepthSlack = 1.5F;    // in slopes of the surface
constexpr float kAroundSlack = 10.0F;  // times as much may geometry differ for light from all around
constexpr float kMirrorSlack = 0.5F;   // and for mirrored light, which moves with it
constexpr float kErrors = 2.0F;        // by which light may differ
constexpr float kNearness = 0.4F;      // how much what is around counts in how far apart fragments are

// Near exp(-x), and nothing from 8 on: six rounded products are what a pixel's many weights can afford.
Four falloff(Four x) {
  const Four root = atLeast(four(0.0F), 1.0F - 0.125F * x), square = root * root, fourth = square * square;
  return fourth * fourth;
}

// Gives a fragment the light that it is to have.
void keep(const Light& light, LitFragment& fragment) {
  const auto kept = [](Four alone, float weight) { return ColoredLight{vectorOf(alone) * weight, glm::vec3(weight)}; };
  fragment.chalk = kept(light.chalk, fragment.chalkLight.all.weight);
  fragment.around = kept(light.around, fragment.aroundLight.weight);
  fragment.mirror = kept(light.mirror, fragment.mirrorLight.weight);
}

// The second highest luminance of some pixels.
class Brightest {
 public:
  void add(float luminance) {
    second_ = std::max(second_, std::min(first_, luminance));
    first_ = std::max(first_, luminance);
    ++count_;
  }
  // What light of that luminance is multiplied with, to be no brighter, or at most as bright as is certain; 1 where
  // there are too few to tell.
  float limit(float luminance, float certain) const {
    const float most = std::max(second_, certain);
    return count_ >= kEnough && luminance > most ? most / luminance : 1.0F;
  }

 private:
  static constexpr int kEnough = 4;
  float first_ = 0.0F, second_ = 0.0F;
  int count_ = 0;
};

class GrainFilter {
 public:
  GrainFilter(const LitPicture& picture, int threads, const std::function<bool()>& stop)
      : picture_(picture),
        threads_(threads),
        stop_(stop),
        row_(picture),
        errorScale_(errorScale(picture.lampChoice)),
        features_(std::make_unique_for_overwrite<Feature[]>(row_.count())),
        from_(std::make_unique_for_overwrite<Light[]>(row_.count())),
        to_(std::make_unique_for_overwrite<Light[]>(row_.count())) {}

  Outcome smooth(int levels, bool specksToo) {
    Outcome outcome = eachFragment([&](int /*x*/, int /*y*/, std::size_t at, const LitFragment& fragment) {
      features_[at] = featureOf(fragment);
      from_[at] = lightOf(fragment, features_[at].coat, errorScale_);
    });
    if (outcome == Outcome::Complete) outcome = lookAround();
    for (int level = 0; level < levels && outcome == Outcome::Complete; ++level) {
      outcome = eachLight(
          [&](int x, int y, std::size_t at, const LitFragment& /*fragment*/) { return smoothed(x, y, at, level); });
    }
    if (outcome != Outcome::Complete || !specksToo) return outcome;
    return eachLight(
        [&](int x, int y, std::size_t at, const LitFragment& fragment) { return withoutSpeck(x, y, at, fragment); });
  }
  const FragmentRow& row() const { return row_; }
  const Light& light(std::size_t at) const { return from_[at]; }
  // Variances of the luminance of chalk, around and mirror that are left, without albedo and coat.
  Four errors(std::size_t at) const {
    const float coat = features_[at].coat;
    const Four steepness = steepnessOfLook(from_[at].luminances(coat)), colors{1.0F, 1.0F, coat * coat, 1.0F};
    return from_[at].errors / (steepness * steepness * colors * (errorScale_ + four(kLeastAlbedo)));
  }

 private:
  template <class Work>
  Outcome eachFragment(const Work& work) {
    return forEach(picture_.height, threads_, stop_, [&](int y) {
      for (int x = 0; x < picture_.width; ++x) {
        row_.of(x, y, [&](std::size_t at, const LitFragment& fragment) { work(x, y, at, fragment); });
      }
    });
  }

  // Takes the light of all fragments one step on.
  template <class Step>
  Outcome eachLight(const Step& step) {
    const Outcome outcome = eachFragment([&](int x, int y, std::size_t at, const LitFragment& fragment) {
      to_[at] = step(x, y, at, fragment).seen(features_[at].coat);
    });
    std::swap(from_, to_);
    return outcome;
  }

  Feature featureOf(const LitFragment& fragment) const {
    constexpr float kLeastWeight = 1e-6F;
    const auto mean = [&](const auto& sum, float weight) { return sum / std::max(kLeastWeight, weight); };
    const auto color = [&](glm::vec3 sum, float weight) { return fourOf(mean(sum, weight) + kLeastAlbedo); };
    const float length = glm::length(fragment.normal);
    const float chalk = fragment.chalkLight.all.weight, around = fragment.aroundLight.weight;
    Feature feature;
    feature.normal = fourOf(length > 0.0F ? fragment.normal / length : glm::vec3(0.0F));
    feature.position = fourOf(mean(fragment.position, fragment.weight));
    feature.depth = mean(fragment.depth, fragment.weight);
    feature.slope = 0.0F;  // lookAround's to tell
    feature.closeness = mean(fragment.closeness, around);
    feature.coat = luminance(fourOf(glm::max(fragment.meanCoat(), kLeastAlbedo)));
    feature.shares = Four{chalk, around, around, 0.0F};
    feature.albedo = color(fragment.chalk.color, chalk);
    feature.aroundAlbedo = color(fragment.around.color, around);
    feature.mirrorCoat = color(fragment.mirror.color, around);
    return feature;
  }

  // What a fragment's neighbours tell of it. Few samples of a pixel meet what is near: their mean around one.
  Outcome lookAround() {
    std::vector<float> near(row_.count());
    const Outcome outcome = eachFragment([&](int x, int y, std::size_t at, const LitFragment& /*fragment*/) {
      features_[at].slope = slopeAt(x, y, features_[at].depth) + 1e-3F * features_[at].depth + 1e-9F;
      float sum = 0.0F, weights = 0.0F;
      row_.around(x, y, 1, [&](std::size_t there, float weight) {
        sum += weight * features_[there].shares[1] * features_[there].closeness;
        weights += weight * features_[there].shares[1];
      });
      near[at] = weights > 0.0F ? sum / weights : 0.0F;
    });
    for (std::size_t at = 0; at < near.size(); ++at) features_[at].closeness = kNearness * near[at];
    return outcome;
  }

  // The lesser of the steps to both sides, which doesn't cross an edge.
  float slopeAt(int x, int y, float depth) const {
    const auto step = [&](int dx, int dy) {
      return std::min(stepTo(x + dx, y + dy, depth), stepTo(x - dx, y - dy, depth));
    };
    return std::max(step(1, 0), step(0, 1));
  }

  // To the nearest fragment of a pixel; none where it has none.
  float stepTo(int x, int y, float depth) const {
    if (x < 0 || y < 0 || x >= picture_.width || y >= picture_.height) return 0.0F;
    float least = std::numeric_limits<float>::max();
    row_.of(x, y, [&](std::size_t at, const LitFragment& /*fragment*/) {
      least = std::min(least, std::abs(features_[at].depth - depth));
    });
    return least < std::numeric_limits<float>::max() ? least : 0.0F;
  }

  // How far apart two fragments are on their surfaces, in distances to what is around them: light from there changes
  // with that (G. Ward et al., A Ray Tracing Solution for Diffuse Interreflection, 1988).
  static float apart(const Feature& here, const Feature& there) {
    const Four way = there.position - here.position;
    return std::sqrt(dot3(way, way)) * std::max(here.closeness, there.closeness);
  }

  static float unlikeness(const Feature& here, const Feature& there, float depthScale) {
    return std::abs(here.depth - there.depth) * depthScale +
           kNormalPower * (1.0F - std::max(0.0F, dot3(here.normal, there.normal)));
  }

  // Errors of single fragments are themselves full of errors: their mean around one, of those like it.
  Four errorsAround(int x, int y, std::size_t self) const {
    const Feature& here = features_[self];
    const float depthScale = 1.0F / (kDepthSlack * here.slope);
    Four sum = four(0.0F), weights = four(std::numeric_limits<float>::min());
    row_.around(x, y, 1, [&](std::size_t at, float weight) {
      const Feature& there = features_[at];
      if (at != self && unlikeness(here, there, depthScale) > 8.0F * kAroundSlack) return;
      sum += weight * there.shares * there.shares * from_[at].errors;
      weights += weight * there.shares;
    });
    return sum / (weights * here.shares + four(std::numeric_limits<float>::min()));
  }

  Light smoothed(int x, int y, std::size_t self, int level) const {
    const Feature& here = features_[self];
    const Four looks = from_[self].looks, errors = level == 0 ? errorsAround(x, y, self) : from_[self].errors;
    const Four scale = 1.0F / (kErrors * rootOf(errors) + 1e-5F);
    const int step = 1 << level;
    const float depthScale = 1.0F / (kDepthSlack * here.slope * static_cast<float>(step));
    LightMean mean;
    row_.around(x, y, step, [&](std::size_t at, float weight) {
      const Feature& there = features_[at];
      const float unlike = at == self ? 0.0F : unlikeness(here, there, depthScale);
      if (unlike > 8.0F * kAroundSlack) return;
      const Light& light = from_[at];
      const Four off = light.looks - looks,
                 geometry{unlike, unlike / kAroundSlack + apart(here, there), unlike / kMirrorSlack, 0.0F};
      mean.add(light, there, weight * falloff(geometry + chosen(off < four(0.0F), -off, off) * scale));
    });
    return mean.mean();
  }

  // A rare bright sample leaves a speck, whose own error explains too little of it. Light on chalk is nowhere brighter
  // than in all but one of the fragments around one; that of lamps may be, as far as its samples are certain: those of
  // a gap in a shadow agree. A mirror may show a point.
  Light withoutSpeck(int x, int y, std::size_t self, const LitFragment& fragment) const {
    const float depthScale = 1.0F / (kDepthSlack * features_[self].slope);
    Brightest chalk, arounds;
    row_.around(x, y, 1, [&](std::size_t there, float /*weight*/) {
      if (there == self || unlikeness(features_[self], features_[there], depthScale) > kAroundSlack) return;
      chalk.add(luminance(from_[there].chalk));
      arounds.add(luminance(from_[there].around));
    });
    const Light& light = from_[self];
    const auto limited = [](Four color, const Brightest& limits, float certain) {
      return color * limits.limit(luminance(color), certain);
    };
    const float found = luminance(fourOf(fragment.chalk.alone(fragment.chalkLight.all.weight)));
    const bool isChosen = picture_.lampChoice != LampChoice::None;
    const float certain = found - (isChosen ? std::sqrt(fragment.chalkLight.error(kLeastAlone)) : 0.0F);
    return {limited(light.chalk, chalk, certain), limited(light.around, arounds, 0.0F), light.mirror, light.errors,
            four(0.0F)};
  }

  const LitPicture& picture_;
  int threads_;
  const std::function<bool()>& stop_;
  FragmentRow row_;
  Four errorScale_;
  std::unique_ptr<Feature[]> features_;  // one for each fragment
  std::unique_ptr<Light[]> from_, to_;
};

// Near what the display's values are: they go with the root of light.
float shown(float light) {
  return std::sqrt(std::min(1.0F, std::max(0.0F, light)));
}

// What the display would show wrong of a pixel, from its fragments.
class PixelGrain {
 public:
  PixelGrain(const LitPixel& pixel, LampChoice lamps)
      : pixel_(pixel), lamps_(lamps), light_(luminance(fourOf(pixel.emission))) {
    const Halves& own = pixel.ownLight;
    if (!(own.all.weight > 0.0F)) return;
    addPart(own.all.first / own.all.weight, own);
    within_ = own.all.weight * own.all.weight * own.error(kLeastCover);
  }

  // `errors` are GrainFilter::errors. What is wrong of the light of lamps that are no emitters is wrong at the edges of
  // shadows, where smoothing takes little of it, and adds to it: half way to what it is without.
  void add(const LitFragment& fragment, const Light& light, Four errors) {
    const Four albedo = fourOf(fragment.albedo), coat = fourOf(fragment.weight * fragment.meanCoat());
    const float sent = luminance(albedo * (light.chalk + light.around) + coat * light.mirror);
    light_ += sent;
    const Four colors{luminance(albedo), luminance(albedo), luminance(coat), 0.0F};
    if (lamps_ != LampChoice::Places) errors[0] = std::sqrt(errors[0] * fragment.chalkLight.error(kLeastAlone));
    errors_ += colors * colors * errors;
    const float weight = fragment.weight;
    if (!(weight > 0.0F)) return;
    addPart(shown(sent / weight), fragment.evenLight);
    within_ += kTextures * weight * weight * fragment.evenLight.error(kLeastCover);
  }

  Grain grain() const {
    constexpr float kWhite = 1.5F, kDark = 3e-3F;
    const float samples = pixel_.samples, light = light_ / samples;
    const float cover = samples > 1.0F ? within_ / (samples * samples) + parts().error(kLeastCover) : 0.0F;
    if (light > kWhite) return {cover, 0.0F, 0.0F};
    const Four errors = errors_ * (0.25F / (std::max(kDark, light) * samples * samples));
    return {cover, errors[0], errors[1] + errors[2]};
  }

 private:
  static constexpr float kLeastCover = 0.1F;
  // Samples even out what changes little from place to place sooner than edges.
  static constexpr float kTextures = 0.1F;

  // Each sample as if it showed the mean of what it meets.
  void addPart(float light, const Halves& samples) {
    parts_.all.first += samples.all.weight * light;
    parts_.all.second += samples.all.weight * light * light;
    parts_.all.weight += samples.all.weight;
    parts_.later += samples.laterWeight * light;
    parts_.laterWeight += samples.laterWeight;
  }
  Halves parts() const {
    Halves parts = parts_;
    parts.all.count = pixel_.samples;
    return parts;
  }

  const LitPixel& pixel_;
  LampChoice lamps_;
  float light_, within_ = 0.0F;
  Four errors_ = four(0.0F);
  Halves parts_;
};

}  // namespace

std::uintmax_t memoryToLight(std::size_t pixels) {
  constexpr std::uintmax_t kFragment = sizeof(LitFragment) + sizeof(Feature) + 2 * sizeof(Light) + sizeof(float);
  return std::uintmax_t{pixels} * (sizeof(LitPixel) + sizeof(std::size_t) + sizeof(Grain) + kFragment * 5 / 4);
}

Outcome findGrain(const LitPicture& picture, int threads, const std::function<bool()>& stop,
                  std::vector<Grain>& grain) {
  GrainFilter filter(picture, threads, stop);
  if (filter.smooth(kLevelsToLook, false) == Outcome::Stopped) return Outcome::Stopped;
  grain.resize(picture.pixels.size());
  return forEach(picture.height, threads, stop, [&](int y) {
    for (int x = 0; x < picture.width; ++x) {
      PixelGrain pixel(picture.at(x, y), picture.lampChoice);
      filter.row().of(x, y, [&](std::size_t at, const LitFragment& fragment) {
        pixel.add(fragment, filter.light(at), filter.errors(at));
      });
      grain[picture.index(x, y)] = pixel.grain();
    }
  });
}

Outcome smoothGrain(LitPicture& picture, int threads, const std::function<bool()>& stop) {
  GrainFilter filter(picture, threads, stop);
  if (filter.smooth(kLevels, true) == Outcome::Stopped) return Outcome::Stopped;
  return forEach(picture.height, threads, stop, [&](int y) {
    for (int x = 0; x < picture.width; ++x) {
      std::vector<LitFragment>& fragments = picture.at(x, y).fragments;
      for (std::size_t i = 0; i < fragments.size(); ++i) keep(filter.light(filter.row().first(x, y) + i), fragments[i]);
    }
  });
}

}  // namespace quillmere::render
