#include "edge_samples.h"

#include <algorithm>
#include <cmath>

namespace quillmere::render {
namespace {

constexpr float kError = 0.015F;  // of a pixel's stored value that is left alone
constexpr float kMost = 3.0F;     // times the samples that there are

// Passes of sixteen samples each.
int passesFor(const LitPixel& pixel, int samples) {
  const float times = std::min(kMost, pixel.edgeError / (kError * kError) - 1.0F);
  return static_cast<int>(std::lround(std::max(0.0F, times) * static_cast<float>(samples) / kRays));
}

void sampleEdge(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                const FinalShader& shader, glm::ivec2 pixel, int storedSamples) {
  const PixelBlock block{sampling.block, pixel.x, pixel.y};
  const PerRay<std::uint32_t> firsts = sampling.firstSamples(block);
  PerRay<FinalShader::Sum> sums{};
  MetTriangle triangle;
  for (int pass = 0; pass < sampling.passes; ++pass) {
    drawPass(request, camera, sampling, block, firsts, pass, shader, sums, triangle);
  }
  for (int ray = 1; ray < kRays; ++ray) sums[0] += sums[ray];
  shader.addTo(sums[0], static_cast<float>(kRays * sampling.passes), static_cast<float>(storedSamples), pixel.x,
               pixel.y);
}

}  // namespace

Outcome sampleEdges(const PictureRequest& request, int samples, std::uint32_t seed, const FinalShader& shader,
                    const LitPicture& picture) {
  constexpr int kTile = 16;  // pixels
  const CameraRays camera(request.camera, request.width, request.height);
  return drawTiles(request, kTile, [&](Tile tile) {
    for (int y = tile.top; y < tile.bottom; ++y) {
      for (int x = tile.left; x < tile.right; ++x) {
        const int passes = passesFor(picture.at(x, y), samples);
        if (passes == 0) continue;
        sampleEdge(request, camera, PixelSampling::single(kRays * passes, seed), shader, {x, y}, samples);
      }
    }
  });
}

}  // namespace quillmere::render
