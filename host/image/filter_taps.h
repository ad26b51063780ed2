#pragma once

#include <span>
#include <vector>

namespace quillmere::image {

// Which samples of a line of `from` samples make up each of `to` samples, and with what weights, for Catmull-Rom
// scaling. Samples beyond the ends count as the first or last one. The weights of each result add up to 1.
class FilterTaps {
 public:
  FilterTaps(int from, int to);

  // The first sample that counts for result `i`; it and the following ones have the weights of weights(i).
  int first(int i) const { return first_[static_cast<std::size_t>(i)]; }
  std::span<const float> weights(int i) const {
    return std::span(weights_).subspan(static_cast<std::size_t>(i) * count_, count_);
  }

 private:
  void addTap(int result, int from, int sample, double weight);

  std::size_t count_;
  std::vector<int> first_;
  std::vector<float> weights_;
};

}  // namespace quillmere::image
