#include "light_filter.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quillmere::render {
namespace {

// An edge-avoiding wavelet filter with weights from the error of each pixel (H. Dammertz et al., Edge-Avoiding
// A-Trous Wavelet Transform for fast Global Illumination Filtering, HPG 2010; C. Schied et al., Spatiotemporal
// Variance-Guided Filtering, HPG 2017).
constexpr int kLevels = 4;                                       // of kernels, each twice as wide
constexpr std::array<float, 3> kKernel{0.375F, 0.25F, 0.0625F};  // by distance, of a cubic spline
constexpr float kNormalPower = 48.0F;
constexpr float kDepthSlack = 1.5F;  // in slopes of the surface
constexpr float kErrors = 3.0F;      // by which light may differ
constexpr float kLeastAlbedo = 1e-3F;

float luminance(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

struct Feature {
  glm::vec3 normal;
  float depth, slope;  // metres; metres a pixel
};

// What is smoothed, as it goes from level to level: chalk's light without its colour, and mirrored light.
struct Light {
  glm::vec3 chalk, mirror;
  float chalkError, mirrorError;
};

// Near exp(-x), and nothing from 8 on: six rounded products are what a pixel's hundreds of weights can afford.
float falloff(float x) {
  const float root = std::max(0.0F, 1.0F - 0.125F * x), square = root * root, fourth = square * square;
  return fourth * fourth;
}

class GrainFilter {
 public:
  GrainFilter(LitPicture& picture, int threads, const std::function<bool()>& stop)
      : picture_(picture),
        threads_(threads),
        stop_(stop),
        features_(picture.pixels.size()),
        from_(picture.pixels.size()),
        to_(picture.pixels.size()) {}

  Outcome run() {
    if (eachRow([&](int y) { prepareRow(y); }) == Outcome::Stopped) return Outcome::Stopped;
    for (int level = 0; level < kLevels; ++level) {
      if (eachRow([&](int y) { smoothRow(y, 1 << level); }) == Outcome::Stopped) return Outcome::Stopped;
      std::swap(from_, to_);
    }
    return eachRow([&](int y) { storeRow(y); });
  }

 private:
  Outcome eachRow(const std::function<void(int)>& work) { return forEach(picture_.height, threads_, stop_, work); }

  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(picture_.width) + static_cast<std::size_t>(x);
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
      Feature& feature = features_[index(x, y)];
      const float length = glm::length(pixel.normal);
      feature.normal = length > 0.0F ? pixel.normal / length : glm::vec3(0.0F);
      feature.depth = pixel.depth;
      feature.slope = slopeAt(x, y, pixel.depth) + 1e-3F * pixel.depth + 1e-9F;
      Light& light = from_[index(x, y)];
      light.chalk = pixel.chalk / glm::max(pixel.albedo, kLeastAlbedo);
      light.mirror = pixel.lit > 0.0F ? pixel.mirror / pixel.lit : glm::vec3(0.0F);
      light.chalkError = pixel.chalkError;
      light.mirrorError = pixel.mirrorError;
    }
  }

  // Errors of single pixels are themselves full of errors: their mean around one.
  glm::vec2 errorAround(int x, int y) const {
    glm::vec2 sum(0.0F);
    float weights = 0.0F;
    for (int row = std::max(0, y - 1); row <= std::min(picture_.height - 1, y + 1); ++row) {
      for (int column = std::max(0, x - 1); column <= std::min(picture_.width - 1, x + 1); ++column) {
        const float weight = (row == y ? 2.0F : 1.0F) * (column == x ? 2.0F : 1.0F);
        const Light& light = from_[index(column, row)];
        sum += weight * glm::vec2(light.chalkError, light.mirrorError);
        weights += weight;
      }
    }
    return sum / weights;
  }

  void smoothRow(int y, int step) {
    for (int x = 0; x < picture_.width; ++x) {
      if (picture_.at(x, y).lit > 0.0F) to_[index(x, y)] = smoothed(x, y, step);
    }
  }

  static float unlikeness(const Feature& here, const Feature& there, float depthScale) {
    const float cosine = std::max(0.0F, glm::dot(here.normal, there.normal));
    return std::abs(here.depth - there.depth) * depthScale + kNormalPower * (1.0F - cosine);
  }

  Light smoothed(int x, int y, int step) const {
    const Feature& here = features_[index(x, y)];
    const Light& middle = from_[index(x, y)];
    const float chalk = luminance(middle.chalk), mirror = luminance(middle.mirror);
    const glm::vec2 scale = 1.0F / (kErrors * glm::sqrt(errorAround(x, y)) + 1e-5F);
    const float depthScale = 1.0F / (kDepthSlack * here.slope * static_cast<float>(step));
    Light sum{glm::vec3(0.0F), glm::vec3(0.0F), 0.0F, 0.0F};
    glm::vec3 chalks(0.0F);
    float chalkWeights = 0.0F, mirrors = 0.0F;
    for (int row = -2; row <= 2; ++row) {
      const int line = y + row * step;
      if (line < 0 || line >= picture_.height) continue;
      for (int column = -2; column <= 2; ++column) {
        const int place = x + column * step;
        if (place < 0 || place >= picture_.width) continue;
        const LitPixel& pixel = picture_.at(place, line);
        if (pixel.lit <= 0.0F) continue;
        const Light& light = from_[index(place, line)];
        const float weight = kKernel[static_cast<std::size_t>(std::abs(row))] *
                             kKernel[static_cast<std::size_t>(std::abs(column))] * pixel.lit;
        float unlike = 0.0F;
        if (row != 0 || column != 0) {
          const auto distance = static_cast<float>(std::max(std::abs(row), std::abs(column)));
          unlike = unlikeness(here, features_[index(place, line)], depthScale / distance);
          if (unlike > 8.0F) continue;
        }
        const float chalkWeight = weight * falloff(unlike + std::abs(luminance(light.chalk) - chalk) * scale.x);
        const float mirrorWeight = weight * falloff(unlike + std::abs(luminance(light.mirror) - mirror) * scale.y);
        const glm::vec3 known = chalkWeight * (pixel.albedo + kLeastAlbedo);  // black tells nothing of its light
        sum.chalk += known * light.chalk;
        chalks += known;
        sum.chalkError += chalkWeight * chalkWeight * light.chalkError;
        chalkWeights += chalkWeight;
        sum.mirror += mirrorWeight * light.mirror;
        sum.mirrorError += mirrorWeight * mirrorWeight * light.mirrorError;
        mirrors += mirrorWeight;
      }
    }
    return {sum.chalk / chalks, sum.mirror / mirrors, sum.chalkError / (chalkWeights * chalkWeights),
            sum.mirrorError / (mirrors * mirrors)};
  }

  void storeRow(int y) {
    for (int x = 0; x < picture_.width; ++x) {
      LitPixel& pixel = picture_.at(x, y);
      if (pixel.lit <= 0.0F) continue;
      pixel.chalk = from_[index(x, y)].chalk * glm::max(pixel.albedo, kLeastAlbedo);
      pixel.mirror = from_[index(x, y)].mirror * pixel.lit;
    }
  }

  LitPicture& picture_;
  int threads_;
  const std::function<bool()>& stop_;
  std::vector<Feature> features_;
  std::vector<Light> from_, to_;
};

}  // namespace

LitPixel LitPixel::with(float samples, const LitPixel& other, float otherSamples) const {
  const float share = samples / (samples + otherSamples), rest = 1.0F - share;
  const auto mean = [&](const auto& mine, const auto& others) { return share * mine + rest * others; };
  const auto error = [&](float mine, float others) { return share * share * mine + rest * rest * others; };
  LitPixel both;
  both.chalk = mean(chalk, other.chalk);
  both.albedo = mean(albedo, other.albedo);
  both.mirror = mean(mirror, other.mirror);
  both.emission = mean(emission, other.emission);
  both.own = mean(own, other.own);
  both.lit = mean(lit, other.lit);
  both.normal = normal + other.normal;
  both.depth = both.lit > 0.0F ? mean(lit * depth, other.lit * other.depth) / both.lit : 0.0F;
  both.chalkError = error(chalkError, other.chalkError);
  both.mirrorError = error(mirrorError, other.mirrorError);
  both.edgeError = error(edgeError, other.edgeError);
  return both;
}

std::uintmax_t memoryToLight(std::size_t pixels) {
  return std::uintmax_t{pixels} * (sizeof(LitPixel) + sizeof(Feature) + 2 * sizeof(Light));
}

Outcome smoothGrain(LitPicture& picture, int threads, const std::function<bool()>& stop) {
  return GrainFilter(picture, threads, stop).run();
}

}  // namespace quillmere::render
