#include "light_filter.h"

#include <algorithm>
#include <cmath>

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
// What the variances of samples are multiplied with, of chalk, around and mirror: of sixteen samples that go all
// around, most pixels have missed what is rare and bright, and so tell of too little error.
constexpr glm::vec3 kErrorScale(2.0F, 3.0F, 5.0F);
constexpr float kLeastAlbedo = 1e-3F;
constexpr float kMostError = 1e30F;  // which also stands for what is no number

float luminance(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

struct Feature {
  glm::vec3 normal;
  float depth, slope;  // metres; metres a pixel
  float closeness;     // of what is around, 1/metres
};

// How different lights look, in numbers to be subtracted: else a highlight, far brighter than the display shows, would
// count its error among all pixels beside it.
glm::vec3 look(glm::vec3 luminances) {
  return luminances / (0.5F + luminances);
}
glm::vec3 steepnessOfLook(glm::vec3 luminances) {
  return 0.5F / ((0.5F + luminances) * (0.5F + luminances));
}

// What is smoothed, as it goes from level to level: chalk's light without its colour, and mirrored light.
struct Light {
  glm::vec3 chalk, around, mirror;
  glm::vec3 errors;  // of how the three look, variances
  float coat;        // luminance of what the mirrored light is multiplied with: as bright as that it looks

  glm::vec3 luminances() const {
    constexpr float kMost = 1e6F;  // more would overflow when squared
    return glm::min(glm::vec3(kMost), glm::vec3(luminance(chalk), luminance(around), coat * luminance(mirror)));
  }
};

Light lightOf(const LitPixel& pixel) {
  const glm::vec3 albedo = glm::max(pixel.albedo, kLeastAlbedo);
  Light light{
      pixel.chalk / albedo, pixel.around / glm::max(pixel.aroundAlbedo, kLeastAlbedo),
      pixel.mirror / glm::max(pixel.mirrorCoat, kLeastAlbedo),
      glm::min(glm::vec3(kMostError), kErrorScale * glm::vec3(pixel.chalkError, pixel.aroundError, pixel.mirrorError)),
      luminance(glm::max(pixel.coat, kLeastAlbedo))};
  light.errors.z *= light.coat * light.coat;
  const glm::vec3 steepness = steepnessOfLook(light.luminances());
  light.errors *= steepness * steepness;
  return light;
}

// Near exp(-x), and nothing from 8 on: six rounded products are what a pixel's many weights can afford.
float falloff(float x) {
  const float root = std::max(0.0F, 1.0F - 0.125F * x), square = root * root, fourth = square * square;
  return fourth * fourth;
}

// The variance of about what the display shows of a pixel under that light: its values go with the root of light.
Grain shownGrain(const Light& light, const LitPixel& pixel) {
  constexpr float kWhite = 1.5F, kDark = 3e-3F;
  const float shown =
      luminance(pixel.albedo * (light.chalk + light.around) + pixel.coat * light.mirror + pixel.emission);
  if (shown > kWhite) return {pixel.edgeError, 0.0F};
  const glm::vec3 steepness = steepnessOfLook(light.luminances()), errors = light.errors / (steepness * steepness);
  const float albedo = luminance(pixel.albedo), scale = 0.25F / std::max(kDark, shown);
  return {pixel.edgeError + scale * albedo * albedo * errors.x, scale * (albedo * albedo * errors.y + errors.z)};
}

// Gives a pixel the light that it is to have.
void keep(const Light& light, LitPixel& pixel) {
  const glm::vec3 albedo = glm::max(pixel.albedo, kLeastAlbedo);
  pixel.chalk = light.chalk * albedo;
  pixel.around = light.around * albedo;
  pixel.aroundAlbedo = pixel.albedo;
  pixel.mirrorCoat = glm::max(pixel.coat, kLeastAlbedo);
  pixel.mirror = light.mirror * pixel.mirrorCoat;
}

// A weighted mean of lights, each of the three with weights of its own.
class LightMean {
 public:
  // Black tells nothing of its light.
  void add(const Light& light, const LitPixel& pixel, glm::vec3 weight) {
    const glm::vec3 chalk = weight.x * (pixel.albedo + kLeastAlbedo);
    sum_.chalk += chalk * light.chalk;
    chalks_ += chalk;
    const glm::vec3 around = weight.y * (pixel.aroundAlbedo + kLeastAlbedo);
    sum_.around += around * light.around;
    arounds_ += around;
    const glm::vec3 mirror = weight.z * (pixel.mirrorCoat + kLeastAlbedo);
    sum_.mirror += mirror * light.mirror;
    mirrors_ += mirror;
    sum_.errors += weight * weight * light.errors;
    weights_ += weight;
  }
  Light mean(float coat) const {
    return {sum_.chalk / chalks_, sum_.around / arounds_, sum_.mirror / mirrors_, sum_.errors / (weights_ * weights_),
            coat};
  }

 private:
  Light sum_{glm::vec3(0.0F), glm::vec3(0.0F), glm::vec3(0.0F), glm::vec3(0.0F), 0.0F};
  glm::vec3 chalks_{0.0F}, arounds_{0.0F}, mirrors_{0.0F}, weights_{0.0F};
};

// The second highest luminance of some pixels.
class Brightest {
 public:
  void add(float luminance) {
    second_ = std::max(second_, std::min(first_, luminance));
    first_ = std::max(first_, luminance);
    ++count_;
  }
  // What light of that luminance is multiplied with, to be no brighter; 1 where there are too few to tell.
  float limit(float luminance) const { return count_ >= kEnough && luminance > second_ ? second_ / luminance : 1.0F; }

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
    if (outcome == Outcome::Complete) outcome = eachLit([&](int x, int y) { return sharpened(x, y); });
    if (outcome == Outcome::Complete) outcome = eachLit([&](int x, int y) { return withoutSpeck(x, y); });
    return outcome;
  }
  const Light& light(int x, int y) const { return from_[picture_.index(x, y)]; }

 private:
  Outcome eachRow(const std::function<void(int)>& work) { return forEach(picture_.height, threads_, stop_, work); }

  // Takes all pixels that are lit one step on.
  template <class Step>
  Outcome eachLit(const Step& step) {
    const Outcome outcome = eachRow([&](int y) {
      for (int x = 0; x < picture_.width; ++x) {
        if (picture_.at(x, y).lit > 0.0F) to_[picture_.index(x, y)] = step(x, y);
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
      feature.normal = length > 0.0F ? pixel.normal / length : glm::vec3(0.0F);
      feature.depth = pixel.depth;
      feature.slope = slopeAt(x, y, pixel.depth) + 1e-3F * pixel.depth + 1e-9F;
      feature.closeness = closenessAround(x, y);
      from_[picture_.index(x, y)] = lightOf(pixel);
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
  float apart(std::size_t here, std::size_t there) const {
    const glm::vec3 way = picture_.pixels[there].position - picture_.pixels[here].position;
    return glm::length(way) * std::max(features_[here].closeness, features_[there].closeness);
  }

  // Errors of single pixels are themselves full of errors: their mean around one.
  glm::vec3 errorsAround(int x, int y) const {
    glm::vec3 sum(0.0F);
    float weights = 0.0F;
    around(x, y, 1, [&](int column, int row, float weight) {
      sum += weight * from_[picture_.index(column, row)].errors;
      weights += weight;
    });
    return sum / weights;
  }

  static float unlikeness(const Feature& here, const Feature& there, float depthScale) {
    return std::abs(here.depth - there.depth) * depthScale +
           kNormalPower * (1.0F - std::max(0.0F, glm::dot(here.normal, there.normal)));
  }

  Light smoothed(int x, int y, int step) const {
    const std::size_t self = picture_.index(x, y);
    const Feature& here = features_[self];
    const glm::vec3 looks = look(from_[self].luminances());
    const glm::vec3 scale = 1.0F / (kErrors * glm::sqrt(errorsAround(x, y)) + 1e-5F);
    const float depthScale = 1.0F / (kDepthSlack * here.slope * static_cast<float>(step));
    LightMean mean;
    around(x, y, step, [&](int place, int line, float weight) {
      const std::size_t there = picture_.index(place, line);
      const LitPixel& pixel = picture_.pixels[there];
      if (pixel.lit <= 0.0F) return;
      const float unlike = there == self ? 0.0F : unlikeness(here, features_[there], depthScale);
      if (unlike > 8.0F * kAroundSlack) return;
      const Light& light = from_[there];
      const glm::vec3 off = glm::abs(look(light.luminances()) - looks) * scale;
      const glm::vec3 alike(falloff(unlike + off.x), falloff(unlike / kAroundSlack + apart(self, there) + off.y),
                            falloff(unlike / kMirrorSlack + off.z));
      mean.add(light, pixel, weight * pixel.lit * alike);
    });
    return mean.mean(from_[self].coat);
  }

  // Light goes back to what it was as far as its error doesn't explain how far it was moved: an estimate after Stein,
  // which keeps the edges of shadows and highlights.
  Light sharpened(int x, int y) const {
    glm::vec3 moved(1e-12F), errors(0.0F);
    around(x, y, 1, [&](int column, int row, float weight) {
      const LitPixel& pixel = picture_.at(column, row);
      if (pixel.lit <= 0.0F) return;
      const Light found = lightOf(pixel);
      const glm::vec3 way = look(from_[picture_.index(column, row)].luminances()) - look(found.luminances());
      moved += weight * way * way;
      errors += weight * found.errors;
    });
    const glm::vec3 back = glm::max(1.0F - errors / moved, 0.0F);
    const Light &smooth = from_[picture_.index(x, y)], found = lightOf(picture_.at(x, y));
    return {glm::mix(smooth.chalk, found.chalk, back.x), glm::mix(smooth.around, found.around, back.y),
            glm::mix(smooth.mirror, found.mirror, back.z),
            back * back * found.errors + (1.0F - back) * (1.0F - back) * smooth.errors, found.coat};
  }

  // A rare bright sample leaves a speck, whose own error explains too little of it. Light on chalk is nowhere brighter
  // than in all but one of the pixels around one; a mirror may show a point.
  Light withoutSpeck(int x, int y) const {
    const std::size_t self = picture_.index(x, y);
    const float depthScale = 1.0F / (kDepthSlack * features_[self].slope);
    Brightest chalk, arounds;
    around(x, y, 1, [&](int column, int row, float /*weight*/) {
      const std::size_t there = picture_.index(column, row);
      const bool tells = there != self && picture_.pixels[there].lit > 0.0F;
      if (!tells || unlikeness(features_[self], features_[there], depthScale) > kAroundSlack) return;
      chalk.add(luminance(from_[there].chalk));
      arounds.add(luminance(from_[there].around));
    });
    const Light& light = from_[self];
    return {light.chalk * chalk.limit(luminance(light.chalk)), light.around * arounds.limit(luminance(light.around)),
            light.mirror, light.errors, light.coat};
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
          pixel.lit > 0.0F ? shownGrain(filter.light(x, y), pixel) : Grain{pixel.edgeError, 0.0F};
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
