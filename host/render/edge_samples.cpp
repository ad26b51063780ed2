#include "edge_samples.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace quillmere::render {
namespace {

constexpr float kError = 0.006F;                           // of a pixel's stored value that is left alone
constexpr float kErrorOfBoth = 0.01F;                      // where samples are followed all around for it
constexpr float kMost = PixelSampling::kMostTimes - 1.0F;  // times the samples that there are

// Passes of sixteen samples each, of which the first ones are followed all around.
struct PassCounts {
  int all, around;
};

// As many samples as errors, not their squares, ask for: so the error of the whole picture falls fastest.
int passesFor(float error, float left, int samples) {
  const float times = std::clamp(std::sqrt(error) / left - 1.0F, 0.0F, kMost);
  return static_cast<int>(std::lround(times * static_cast<float>(samples) / kRays));
}

// Samples that go no farther than lamps take two fifths of the time, and are enough where edges and shadows err most.
PassCounts passesFor(const Grain& grain, int samples) {
  if (grain.around < grain.edges) {
    return {passesFor(grain.edges, kError, samples), passesFor(grain.around, kError, samples)};
  }
  const int both = passesFor(grain.edges + grain.around, kErrorOfBoth, samples);
  return {both, both};
}

// Half of the pixel itself, half of the mean around it: few samples may all have missed what those beside them met.
Grain grainNear(const std::vector<Grain>& grain, const LitPicture& picture, int x, int y) {
  float edges = 0.0F, around = 0.0F, weights = 0.0F;
  for (int row = std::max(0, y - 1); row <= std::min(picture.height - 1, y + 1); ++row) {
    for (int column = std::max(0, x - 1); column <= std::min(picture.width - 1, x + 1); ++column) {
      const float weight = (row == y ? 2.0F : 1.0F) * (column == x ? 2.0F : 1.0F);
      const Grain& there = grain[picture.index(column, row)];
      edges += weight * there.edges;
      around += weight * there.around;
      weights += weight;
    }
  }
  const Grain& here = grain[picture.index(x, y)];
  return {0.5F * (here.edges + edges / weights), 0.5F * (here.around + around / weights)};
}

// The shader of a picture, which follows samples as far as asked.
struct ReachingShader {
  using Sum = FinalShader::Sum;

  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const { return shader.shade(layer, sums, reach); }
  void store(const Sum& /*sum*/, float /*samples*/, int /*x*/, int /*y*/) const {}

  const FinalShader& shader;
  Reach reach;
};

void sampleEdge(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                const FinalShader& shader, int aroundPasses, glm::ivec2 pixel) {
  const PixelBlock block{sampling.block, pixel.x, pixel.y};
  const PerRay<std::uint32_t> firsts = sampling.firstSamples(block);
  PerRay<FinalShader::Sum> sums{};
  MetTriangle triangle;
  for (int pass = 0; pass < sampling.passes; ++pass) {
    const ReachingShader reaching{shader, pass < aroundPasses ? Reach::All : Reach::Lamps};
    drawPass(request, camera, sampling, block, firsts, pass, reaching, sums, triangle);
  }
  for (int ray = 1; ray < kRays; ++ray) sums[0] += sums[ray];
  shader.addTo(sums[0], static_cast<float>(kRays * sampling.passes), static_cast<float>(kRays * aroundPasses), pixel.x,
               pixel.y);
}

}  // namespace

Outcome sampleEdges(const PictureRequest& request, int samples, std::uint32_t seed, const FinalShader& shader,
                    const LitPicture& picture) {
  constexpr int kTile = 16;  // pixels
  const CameraRays camera(request.camera, request.width, request.height);
  std::vector<Grain> grain;
  if (findGrain(picture, request.threads, request.stop, grain) == Outcome::Stopped) return Outcome::Stopped;
  return drawTiles(request, kTile, [&](Tile tile) {
    for (int y = tile.top; y < tile.bottom; ++y) {
      for (int x = tile.left; x < tile.right; ++x) {
        const PassCounts passes = passesFor(grainNear(grain, picture, x, y), samples);
        if (passes.all == 0) continue;
        sampleEdge(request, camera, PixelSampling::further(kRays * passes.all, samples, seed), shader, passes.around,
                   {x, y});
      }
    }
  });
}

}  // namespace quillmere::render
