#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <glm/glm.hpp>
#include <vector>

#include "image/cryptomatte.h"
#include "line_drawing.h"

namespace quillmere::render {

// Where a pass is written, of as many floats a pixel as its picture has channels; nowhere where it isn't drawn.
class Plane {
 public:
  explicit Plane(image::Image& picture)
      : samples_(picture.empty() ? nullptr : picture.row<float>(0)), channels_(picture.channels()) {}
  explicit operator bool() const { return samples_ != nullptr; }
  // Of the pixel with that number, counted row by row.
  float* at(std::ptrdiff_t pixel) const { return samples_ + pixel * channels_; }
  void put(std::ptrdiff_t pixel, float value) const {
    if (samples_ != nullptr) *at(pixel) = value;
  }
  void put(std::ptrdiff_t pixel, glm::vec3 value) const {
    if (samples_ == nullptr) return;
    float* const to = at(pixel);
    to[0] = value.x;
    to[1] = value.y;
    to[2] = value.z;
  }
  void put(std::ptrdiff_t pixel, glm::vec3 value, float last) const {
    put(pixel, value);
    if (samples_ != nullptr) at(pixel)[3] = last;
  }

 private:
  float* samples_;
  int channels_;
};

// Shares of a pixel by id, the largest few of them: where there are more, the smallest give way.
class MatteSum {
 public:
  // Leaves the shares unset: there is one of these for every pixel.
  // cppcheck-suppress uninitMemberVar
  MatteSum() {}  // NOLINT(modernize-use-equals-default)
  void add(std::uint32_t id, float weight);
  // Writes the largest as pairs of id and share to `layers`, by falling share; of equal ones by id, so that nothing
  // hangs on the order in which they came; and 0 behind them. `whole` is what all of a pixel would be.
  void store(const std::vector<Plane>& layers, float whole, std::ptrdiff_t pixel) const;
  // The first two of these.
  TwoObjects firstTwo(float whole) const;

 private:
  struct Share {
    std::uint32_t id;
    float weight;
  };
  // Of a pixel, by rank; their weights are 0 behind the last.
  using Ranked = std::array<Share, std::size_t{2} * image::kMatteLayers>;
  Ranked ranked() const;

  int count_ = 0;
  std::array<Share, 8> shares_;  // of which `count_` hold anything
};

}  // namespace quillmere::render
