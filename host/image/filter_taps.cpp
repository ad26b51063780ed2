#include "filter_taps.h"

#include <algorithm>
#include <cmath>

namespace quillmere::image {

namespace {

// The cubic of Catmull and Rom (B = 0, C = 1/2), zero beyond 2.
double catmullRom(double x) {
  x = std::abs(x);
  if (x < 1) return 1 - x * x * (2.5 - 1.5 * x);
  if (x < 2) return 2 - x * (4 - x * (2.5 - 0.5 * x));
  return 0;
}

}  // namespace

FilterTaps::FilterTaps(int from, int to) : first_(static_cast<std::size_t>(to)) {
  const double step = static_cast<double>(from) / to;
  const double stretch = std::max(1.0, step);  // scaling down widens the filter, so that no sample is skipped
  const int reach = static_cast<int>(std::ceil(4 * stretch)) + (step > 1 ? 1 : 0);
  count_ = static_cast<std::size_t>(std::min(reach, from));
  weights_.resize(static_cast<std::size_t>(to) * count_);
  std::vector<double> taps(static_cast<std::size_t>(reach));
  for (int i = 0; i < to; ++i) {
    const double center = (i + 0.5) * step;
    const int begin = static_cast<int>(std::floor(center - 2 * stretch + 0.5));
    double sum = 0;
    for (int k = 0; k < reach; ++k) {
      sum += taps[static_cast<std::size_t>(k)] = catmullRom((begin + k + 0.5 - center) / stretch);
    }
    first_[static_cast<std::size_t>(i)] = std::clamp(begin, 0, from - static_cast<int>(count_));
    for (int k = 0; k < reach; ++k) addTap(i, from, begin + k, taps[static_cast<std::size_t>(k)] / sum);
  }
}

void FilterTaps::addTap(int result, int from, int sample, double weight) {
  const int place = std::clamp(sample, 0, from - 1) - first(result);
  // A sample out of reach has no weight: the last one is there for rounding only.
  if (place < 0 || place >= static_cast<int>(count_)) return;
  weights_[static_cast<std::size_t>(result) * count_ + static_cast<std::size_t>(place)] += static_cast<float>(weight);
}

}  // namespace quillmere::image
