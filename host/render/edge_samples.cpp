#include "edge_samples.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace quillmere::render {
namespace {

constexpr float kError = 0.012F;                           // of a pixel's stored value that is left alone
constexpr float kMost = PixelSampling::kMostTimes - 1.0F;  // times the samples that there are

// Passes of sixteen samples each. As many samples as errors, not their squares, ask for: so the error of the whole
// picture falls fastest.
int passesFor(float error, int samples) {
  const float times = std::clamp(std::sqrt(error) / kError - 1.0F, 0.0F, kMost);
  return static_cast<int>(std::lround(times * static_cast<float>(samples) / kRays));
}

// Half of the pixel itself, half of the mean around it: few samples may all have missed what those beside them met.
float errorNear(const std::vector<float>& errors, const LitPicture& picture, int x, int y) {
  float sum = 0.0F, weights = 0.0F;
  for (int row = std::max(0, y - 1); row <= std::min(picture.height - 1, y + 1); ++row) {
    for (int column = std::max(0, x - 1); column <= std::min(picture.width - 1, x + 1); ++column) {
      const float weight = (row == y ? 2.0F : 1.0F) * (column == x ? 2.0F : 1.0F);
      sum += weight * errors[picture.index(column, row)];
      weights += weight;
    }
  }
  return 0.5F * (errors[picture.index(x, y)] + sum / weights);
}

void sampleEdge(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                const FinalShader& shader, glm::ivec2 pixel) {
  const PixelBlock block{sampling.block, pixel.x, pixel.y};
  const PerRay<std::uint32_t> firsts = sampling.firstSamples(block);
  PerRay<FinalShader::Sum> sums{};
  MetTriangle triangle;
  for (int pass = 0; pass < sampling.passes; ++pass) {
    drawPass(request, camera, sampling, block, firsts, pass, shader, sums, triangle);
  }
  for (int ray = 1; ray < kRays; ++ray) sums[0] += sums[ray];
  shader.addTo(sums[0], static_cast<float>(kRays * sampling.passes), static_cast<float>(sampling.earlier), pixel.x,
               pixel.y);
}

}  // namespace

Outcome sampleEdges(const PictureRequest& request, int samples, std::uint32_t seed, const FinalShader& shader,
                    const LitPicture& picture) {
  constexpr int kTile = 16;  // pixels
  const CameraRays camera(request.camera, request.width, request.height);
  std::vector<float> errors;
  if (findGrain(picture, request.threads, request.stop, errors) == Outcome::Stopped) return Outcome::Stopped;
  return drawTiles(request, kTile, [&](Tile tile) {
    for (int y = tile.top; y < tile.bottom; ++y) {
      for (int x = tile.left; x < tile.right; ++x) {
        const int passes = passesFor(errorNear(errors, picture, x, y), samples);
        if (passes == 0) continue;
        sampleEdge(request, camera, PixelSampling::further(kRays * passes, samples, seed), shader, {x, y});
      }
    }
  });
}

}  // namespace quillmere::render
