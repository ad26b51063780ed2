#include "depth_span.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace quillmere::render {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

class SpanShader {
 public:
  struct Sum {
    float near = kInfinity, far = 0.0F;

    Sum& operator+=(const Sum& other) {
      near = std::min(near, other.near);
      far = std::max(far, other.far);
      return *this;
    }
  };

  // A row's spans are written by several threads, but each pixel by one.
  SpanShader(const PictureRequest& picture, std::vector<Sum>& pixels) : picture_(picture), pixels_(pixels) {}

  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const {
    forEachRay(layer.met, [&](int ray) {
      if (picture_.scene.instances()[layer.surface.instance[layer.pointOf[ray]]].sky) return;
      const float depth = layer.rays.hit(ray).distance;
      sums[layer.block.summedAt(ray)] += Sum{depth, depth};
    });
    return layer.met;
  }
  void store(const Sum& sum, float /*samples*/, int x, int y) const {
    pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture_.width) + static_cast<std::size_t>(x)] = sum;
  }

 private:
  const PictureRequest& picture_;
  std::vector<Sum>& pixels_;
};

}  // namespace

std::optional<DepthRange> depthsSeen(const PictureRequest& picture) {
  std::vector<SpanShader::Sum> pixels(static_cast<std::size_t>(picture.width) *
                                      static_cast<std::size_t>(picture.height));
  drawPicture(picture, PixelSampling::grid(), SpanShader(picture, pixels));
  SpanShader::Sum all;
  for (const SpanShader::Sum& pixel : pixels) all += pixel;
  if (all.near > all.far) return {};
  return DepthRange{all.near, all.far};
}

}  // namespace quillmere::render
