#include "edge_samples.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "light_filter.h"

namespace quillmere::render {
namespace {

// Of a pixel's stored value, what is left alone.
constexpr float kCoverError = 0.0018F, kLampsError = 0.0018F, kAroundError = 0.0041F;
constexpr float kMost = PixelSampling::kMostTimes - 1.0F;  // times the samples that there are

using Reach = FinalShader::Reach;

// Passes of sixteen samples each, of which the first ones are followed to lamps, and the first of these all around.
struct PassCounts {
  int all, lamps, around;

  Reach reach(int pass) const { return pass < around ? Reach::All : pass < lamps ? Reach::Lamps : Reach::Camera; }
};

// As many samples as errors, not their squares, ask for: so the error of the whole picture falls fastest.
int passesFor(float error, float left, int samples) {
  const float times = std::clamp(std::sqrt(error) / left - 1.0F, 0.0F, kMost);
  return static_cast<int>(std::lround(times * static_cast<float>(samples) / kRays));
}

// Samples that only tell which surfaces a pixel shows take a fifth of the time or less of those that are followed all
// around, those that go no farther than lamps two fifths.
PassCounts passesFor(const Grain& grain, int samples) {
  const int around = passesFor(grain.around, kAroundError, samples);
  const int lamps = std::max(around, passesFor(grain.lamps, kLampsError, samples));
  return {std::max(lamps, passesFor(grain.cover, kCoverError, samples)), lamps, around};
}

// The mean around a pixel, and a little of its own: few samples may all have missed what those beside them met.
Grain grainNear(const std::vector<Grain>& grain, const LitPicture& picture, int x, int y) {
  constexpr float kOwn = 0.25F;
  Grain sum{0.0F, 0.0F, 0.0F};
  const auto add = [&](const Grain& there, float weight) {
    sum.cover += weight * there.cover;
    sum.lamps += weight * there.lamps;
    sum.around += weight * there.around;
  };
  const auto weightOf = [&](int column, int row) { return (row == y ? 2.0F : 1.0F) * (column == x ? 2.0F : 1.0F); };
  const int left = std::max(0, x - 1), right = std::min(picture.width - 1, x + 1);
  const int top = std::max(0, y - 1), bottom = std::min(picture.height - 1, y + 1);
  const float columns = static_cast<float>(right - left + 2), rows = static_cast<float>(bottom - top + 2);
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      add(grain[picture.index(column, row)], (1.0F - kOwn) * weightOf(column, row) / (columns * rows));
    }
  }
  add(grain[picture.index(x, y)], kOwn);
  return sum;
}

// The shader of a picture, which follows samples as far as asked.
struct ReachingShader {
  using Sum = FinalShader::Sum;

  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const { return shader.shadeFurther(layer, sums, reach); }
  void store(const Sum& /*sum*/, float /*samples*/, int /*x*/, int /*y*/) const {}

  const FinalShader& shader;
  Reach reach;
};

void sampleEdge(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                const FinalShader& shader, const PassCounts& passes, glm::ivec2 place, LitPixel& pixel) {
  const PixelBlock block{sampling.block, place.x, place.y};
  const PerRay<std::uint32_t> firsts = sampling.firstSamples(block);
  MetTriangle triangle;
  for (int pass = 0; pass < sampling.passes; ++pass) {
    const ReachingShader reaching{shader, passes.reach(pass)};
    PixelSampling now = sampling;
    now.shared = reaching.reach == Reach::Camera;
    drawPass(request, camera, now, block, firsts, pass, reaching, BlockSums(&pixel), triangle);
  }
  pixel.samples += static_cast<float>(kRays * sampling.passes);
}

}  // namespace

Outcome sampleEdges(const PictureRequest& request, int samples, std::uint32_t seed, const FinalShader& shader,
                    LitPicture& picture) {
  constexpr int kTile = 16;  // pixels
  const CameraRays camera(request.camera, request.width, request.height);
  std::vector<Grain> grain;
  if (findGrain(picture, request.threads, request.stop, grain) == Outcome::Stopped) return Outcome::Stopped;
  return drawTiles(request, kTile, [&](Tile tile) {
    for (int y = tile.top; y < tile.bottom; ++y) {
      for (int x = tile.left; x < tile.right; ++x) {
        const PassCounts passes = passesFor(grainNear(grain, picture, x, y), samples);
        if (passes.all == 0) continue;
        sampleEdge(request, camera, PixelSampling::further(kRays * passes.all, samples, seed), shader, passes, {x, y},
                   picture.at(x, y));
      }
    }
  });
}

}  // namespace quillmere::render
