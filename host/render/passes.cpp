#include "passes.h"

#include <algorithm>
#include <bit>

namespace quillmere::render {

std::vector<std::string> materialNames(const scene::Scene& scene) {
  std::vector<std::string> names;
  for (const scene::Material& material : scene.materials()) {
    names.push_back(material.name.empty() ? std::string(scene::kUnnamed) : material.name);
  }
  return names;
}

std::uint32_t foremostId(const std::vector<image::Image>& mattes, int x, int y) {
  float background = 1.0F;
  for (const image::Image& layer : mattes) {
    const float* ranks = layer.pixel<float>(x, y);
    background -= ranks[1] + ranks[3];
  }
  const float* first = mattes.front().pixel<float>(x, y);
  return first[1] >= background ? std::bit_cast<std::uint32_t>(first[0]) : 0;
}

image::Image coverageOf(const std::vector<image::Image>& mattes, std::uint32_t id) {
  const int width = mattes.front().width(), height = mattes.front().height();
  image::Image coverage(width, height, 1, image::Sample::Float);
  for (const image::Image& layer : mattes) {
    for (int y = 0; y < height; ++y) {
      const float* ranks = layer.row<float>(y);
      float* to = coverage.row<float>(y);
      for (int x = 0; x < width; ++x, ranks += 4) {
        for (const int rank : {0, 2}) {
          if (std::bit_cast<std::uint32_t>(ranks[rank]) == id) to[x] += ranks[rank + 1];
        }
      }
    }
  }
  return coverage;
}

}  // namespace quillmere::render
