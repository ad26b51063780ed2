#include "light_filter.h"

#include <algorithm>
#include <cmath>

#include "filtered_light.h"

namespace quillmere::render {
namespace {

// An edge-avoiding wavelet filter with weights from the error of each pixel (H. Dammertz et al., Edge-Avoiding
// A-Trous Wavelet Transform for fast Global Illumination Filtering, HPG 2010; C. Schied et al., Spatiotemporal
// Variance-Guided Filtering, HPG 2017).
constexpr int kLevels = 4;        // of kernels of three by three, each twice as wide
constexpr int kLevelsToLook = 2;  // for a first look at how much grain stays
constexpr float kNormalPower = 96.0F;
constexpr float kDepthSlack = 1.5F;    // in slopes of the surface
constexpr float kAroundSlack = 10.0F;  // times as much may geometry differ for light from all around
constexpr float kMirrorSlack = 0.5F;   // and for mirrored light, which moves with it
constexpr float kErrors = 2.0F;        // by which light may differ

// Near exp(-x), and nothing from 8 on: six rounded products are what a pixel's many weights can afford.
Four falloff(Four x) {
  const Four root = atLeast(four(0.0F), 1.0F - 0.125F * x), square = root * root, fourth = square * square;
  return fourth * fourth;
}

// The variance of about what the display shows of a pixel under that light: its values go with the root of light.
Grain shownGrain(const Light& light, const LitPixel& pixel, float coat) {
  constexpr float kWhite = 1.5F, kDark = 3e-3F;
  const float shown = luminance(fourOf(pixel.albedo) * (light.chalk + light.around) +
                                fourOf(pixel.coat) * light.mirror + fourOf(pixel.emission));
  if (shown > kWhite) return {pixel.edgeError, 0.0F};
  const Four steepness = steepnessOfLook(light.luminances(coat)), errors = light.errors / (steepness * steepness);
  const float albedo = luminance(fourOf(pixel.albedo)), scale = 0.25F / std::max(kDark, shown);
  return {pixel.edgeError + scale * albedo * albedo * errors[0], scale * (albedo * albedo * errors[1] + errors[2])};
}

// Gives a pixel the light that it is to have.
void keep(const Light& light, LitPixel& pixel) {
  const glm::vec3 albedo = glm::max(pixel.albedo, kLeastAlbedo);
  pixel.chalk = vectorOf(light.chalk) * albedo;
  pixel.around = vectorOf(light.around) * albedo;
  pixel.aroundAlbedo = pixel.albedo;
  pixel.mirrorCoat = glm::max(pixel.coat, kLeastAlbedo);
  pixel.mirror = vectorOf(light.mirror) * pixel.mirrorCoat;
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
        features_(picture.pixels.size()),
        from_(picture.pixels.size()),
        to_(picture.pixels.size()) {}

  Outcome smooth(int levels) {
    Outcome outcome = eachRow([&](int y) { prepareRow(y); });
    for (int level = 0; level < levels && outcome == Outcome::Complete; ++level) {
      outcome = eachLit([&](int x, int y) { return smoothed(x, y, 1 << level); });
    }
    if (outcome == Outcome::Complete) outcome = eachLit([&](int x, int y) { return withoutSpeck(x, y); });
    return outcome;
  }
  const Light& light(int x, int y) const { return from_[picture_.index(x, y)]; }
  float coat(int x, int y) const { return features_[picture_.index(x, y)].coat; }

 private:
  Outcome eachRow(const std::function<void(int)>& work) { return forEach(picture_.height, threads_, stop_, work); }

  // Takes all pixels that are lit one step on.
  template <class Step>
  Outcome eachLit(const Step& step) {
    const Outcome outcome = eachRow([&](int y) {
      for (int x = 0; x < picture_.width; ++x) {
        const std::size_t at = picture_.index(x, y);
        if (features_[at].lit > 0.0F) to_[at] = step(x, y).seen(features_[at].coat);
      }
    });
    std::swap(from_, to_);
    return outcome;
  }

  float depthAt(int x, int y, float otherwise) const {
    if (x < 0 || y < 0 || x >= picture_.width || y >= picture_.height) return otherwise;
    const LitPixel& pixel = picture_.at(x, y);
    return pixel.lit > 0.0F ? pixel.depth : otherwise;
  }

  // The lesser of the steps to both sides, which doesn't cross an edge.
  float slopeAt(int x, int y, float depth) const {
    const auto step = [&](int dx, int dy) {
      const float ahead = std::abs(depthAt(x + dx, y + dy, depth) - depth);
      const float behind = std::abs(depthAt(x - dx, y - dy, depth) - depth);
      return std::min(ahead, behind);
    };
    return std::max(step(1, 0), step(0, 1));
  }

  void prepareRow(int y) {
    for (int x = 0; x < picture_.width; ++x) {
      const LitPixel& pixel = picture_.at(x, y);
      Feature& feature = features_[picture_.index(x, y)];
      const float length = glm::length(pixel.normal);
      const Four least = fourOf(glm::vec3(kLeastAlbedo));
      feature = {fourOf(length > 0.0F ? pixel.normal / length : glm::vec3(0.0F)),
                 fourOf(pixel.position),
                 pixel.depth,
                 slopeAt(x, y, pixel.depth) + 1e-3F * pixel.depth + 1e-9F,
                 closenessAround(x, y),
                 pixel.lit,
                 fourOf(pixel.albedo) + least,
                 fourOf(pixel.aroundAlbedo) + least,
                 fourOf(pixel.mirrorCoat) + least,
                 luminance(fourOf(glm::max(pixel.coat, kLeastAlbedo)))};
      from_[picture_.index(x, y)] = lightOf(pixel, feature.coat);
    }
  }

  // Calls each(x, y, weight) for a pixel and those `step` beside it, as far as the picture goes.
  template <class Each>
  void around(int x, int y, int step, const Each& each) const {
    for (int row = -1; row <= 1; ++row) {
      const int line = y + row * step;
      if (line < 0 || line >= picture_.height) continue;
      for (int column = -1; column <= 1; ++column) {
        const int place = x + column * step;
        if (place < 0 || place >= picture_.width) continue;
        each(place, line, (row == 0 ? 2.0F : 1.0F) * (column == 0 ? 2.0F : 1.0F));
      }
    }
  }

  // Few samples of a pixel meet what is near: its mean around one.
  float closenessAround(int x, int y) const {
    float sum = 0.0F, weights = 0.0F;
    around(x, y, 1, [&](int column, int row, float weight) {
      const LitPixel& pixel = picture_.at(column, row);
      sum += weight * pixel.closeness;
      weights += weight * pixel.lit;
    });
    return weights > 0.0F ? sum / weights : 0.0F;
  }

  // How far apart two pixels are on their surfaces, in distances to what is around them: light from there changes with
  // that (G. Ward et al., A Ray Tracing Solution for Diffuse Interreflection, 1988).
  static float apart(const Feature& here, const Feature& there) {
    const Four way = there.position - here.position;
    return std::sqrt(dot3(way, way)) * std::max(here.closeness, there.closeness);
  }

  // Errors of single pixels are themselves full of errors: their mean around one.
  Four errorsAround(int x, int y) const {
    Four sum = four(0.0F);
    float weights = 0.0F;
    around(x, y, 1, [&](int column, int row, float weight) {
      sum += weight * from_[picture_.index(column, row)].errors;
      weights += weight;
    });
    return sum / weights;
  }

  static float unlikeness(const Feature& here, const Feature& there, float depthScale) {
    return std::abs(here.depth - there.depth) * depthScale +
           kNormalPower * (1.0F - std::max(0.0F, dot3(here.normal, there.normal)));
  }

  Light smoothed(int x, int y, int step) const {
    const std::size_t self = picture_.index(x, y);
    const Feature& here = features_[self];
    const Four looks = from_[self].looks;
    const Four scale = 1.0F / (kErrors * rootOf(errorsAround(x, y)) + 1e-5F);
    const float depthScale = 1.0F / (kDepthSlack * here.slope * static_cast<float>(step));
    LightMean mean;
    around(x, y, step, [&](int place, int line, float weight) {
      const std::size_t at = picture_.index(place, line);
      const Feature& there = features_[at];
      if (there.lit <= 0.0F) return;
      const float unlike = at == self ? 0.0F : unlikeness(here, there, depthScale);
      if (unlike > 8.0F * kAroundSlack) return;
      const Light& light = from_[at];
      const Four off = light.looks - looks,
                 geometry{unlike, unlike / kAroundSlack + apart(here, there), unlike / kMirrorSlack, 0.0F};
      mean.add(light, there, weight * there.lit * falloff(geometry + chosen(off < four(0.0F), -off, off) * scale));
    });
    return mean.mean();
  }

  // A rare bright sample leaves a speck, whose own error explains too little of it. Light on chalk is nowhere brighter
  // than in all but one of the pixels around one; that of lamps may be, as far as its samples are certain: those of a
  // gap in a shadow agree. A mirror may show a point.
  Light withoutSpeck(int x, int y) const {
    const std::size_t self = picture_.index(x, y);
    const float depthScale = 1.0F / (kDepthSlack * features_[self].slope);
    Brightest chalk, arounds;
    around(x, y, 1, [&](int column, int row, float /*weight*/) {
      const std::size_t there = picture_.index(column, row);
      const bool tells = there != self && features_[there].lit > 0.0F;
      if (!tells || unlikeness(features_[self], features_[there], depthScale) > kAroundSlack) return;
      chalk.add(luminance(from_[there].chalk));
      arounds.add(luminance(from_[there].around));
    });
    const Light &light = from_[self], found = lightOf(picture_.pixels[self], features_[self].coat);
    const auto limited = [](Four color, const Brightest& limits, float certain) {
      return color * limits.limit(luminance(color), certain);
    };
    const float certain = luminance(found.chalk) - std::sqrt(picture_.pixels[self].chalkError);
    return {limited(light.chalk, chalk, certain), limited(light.around, arounds, 0.0F), light.mirror, light.errors,
            four(0.0F)};
  }

  const LitPicture& picture_;
  int threads_;
  const std::function<bool()>& stop_;
  std::vector<Feature> features_;
  std::vector<Light> from_, to_;
};

}  // namespace

std::uintmax_t memoryToLight(std::size_t pixels) {
  return std::uintmax_t{pixels} * (sizeof(LitPixel) + sizeof(Feature) + 2 * sizeof(Light) + sizeof(Grain));
}

Outcome findGrain(const LitPicture& picture, int threads, const std::function<bool()>& stop,
                  std::vector<Grain>& grain) {
  GrainFilter filter(picture, threads, stop);
  if (filter.smooth(kLevelsToLook) == Outcome::Stopped) return Outcome::Stopped;
  grain.resize(picture.pixels.size());
  return forEach(picture.height, threads, stop, [&](int y) {
    for (int x = 0; x < picture.width; ++x) {
      const LitPixel& pixel = picture.at(x, y);
      grain[picture.index(x, y)] =
          pixel.lit > 0.0F ? shownGrain(filter.light(x, y), pixel, filter.coat(x, y)) : Grain{pixel.edgeError, 0.0F};
    }
  });
}

Outcome smoothGrain(LitPicture& picture, int threads, const std::function<bool()>& stop) {
  GrainFilter filter(picture, threads, stop);
  if (filter.smooth(kLevels) == Outcome::Stopped) return Outcome::Stopped;
  return forEach(picture.height, threads, stop, [&](int y) {
    for (int x = 0; x < picture.width; ++x) {
      LitPixel& pixel = picture.at(x, y);
      if (pixel.lit > 0.0F) keep(filter.light(x, y), pixel);
    }
  });
}

}  // namespace quillmere::render
