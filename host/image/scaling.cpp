#include "image/scaling.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <span>
#include <string>
#include <vector>

#include "base/parallel.h"
#include "image/conversion.h"

namespace quillmere::image {

namespace {

constexpr int kBandRows = 32;  // what a thread takes at a time
constexpr int kLanes = 4;      // a pixel of any channels is worked on as one vector of four

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

// The cubic of Catmull and Rom (B = 0, C = 1/2), zero beyond 2.
double catmullRom(double x) {
  x = std::abs(x);
  if (x < 1) return 1 - x * x * (2.5 - 1.5 * x);
  if (x < 2) return 2 - x * (4 - x * (2.5 - 0.5 * x));
  return 0;
}

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

struct Job {
  const Image& picture;
  Area from;
  Image& result;
  FilterTaps columns, rows;
};

void checkArea(const Image& picture, const Area& area) {
  const bool inside = area.left >= 0 && area.top >= 0 && area.width >= 1 && area.height >= 1 &&
                      area.width <= picture.width() - area.left && area.height <= picture.height() - area.top;
  if (inside) return;
  throw Error("cannot scale the area of " + std::to_string(area.width) + " x " + std::to_string(area.height) +
              " pixels at " + std::to_string(area.left) + ", " + std::to_string(area.top) +
              ": it must lie inside the picture of " + std::to_string(picture.width()) + " x " +
              std::to_string(picture.height()));
}

template <class T>
const T* sourceRow(const Job& job, int y) {
  return job.picture.pixel<T>(job.from.left, job.from.top + y);
}

// The rows of the source that make up row `y` of the result, blended into one.
template <class T>
void blendRows(const Job& job, int y, float* __restrict blended) {
  const auto weights = job.rows.weights(y);
  const int first = job.rows.first(y), count = job.from.width * job.picture.channels();
  std::size_t done = 0;
  std::fill_n(blended, count, 0.0F);
  for (; done + 4 <= weights.size(); done += 4) {
    const float a = weights[done], b = weights[done + 1], c = weights[done + 2], d = weights[done + 3];
    const int row = first + static_cast<int>(done);
    const T* __restrict p = sourceRow<T>(job, row);
    const T* __restrict q = sourceRow<T>(job, row + 1);
    const T* __restrict r = sourceRow<T>(job, row + 2);
    const T* __restrict s = sourceRow<T>(job, row + 3);
    for (int i = 0; i < count; ++i) {
      blended[i] += a * static_cast<float>(p[i]) + b * static_cast<float>(q[i]) + c * static_cast<float>(r[i]) +
                    d * static_cast<float>(s[i]);
    }
  }
  for (; done < weights.size(); ++done) {
    const T* __restrict p = sourceRow<T>(job, first + static_cast<int>(done));
    for (int i = 0; i < count; ++i) blended[i] += weights[done] * static_cast<float>(p[i]);
  }
}

// Lanes beyond the channels hold the neighbour's values; the next pixel overwrites them, so `line` and `blended` have
// room for kLanes more samples.
void scaleLine(const FilterTaps& columns, int width, std::ptrdiff_t channels, const float* __restrict blended,
               float* __restrict line) {
  for (int x = 0; x < width; ++x, line += channels) {
    const float* __restrict from = blended + columns.first(x) * channels;
    float sum[kLanes] = {};
    for (const float weight : columns.weights(x)) {
      for (int lane = 0; lane < kLanes; ++lane) sum[lane] += weight * from[lane];
      from += channels;
    }
    std::copy_n(sum, kLanes, line);
  }
}

// Values beyond black and white, which are few times white at most, are cut off as whole numbers: floats would be cut
// off one at a time.
template <class T>
void storeLine(const float* __restrict line, T* __restrict to, int count) {
  for (int i = 0; i < count; ++i) {
    if constexpr (std::is_same_v<T, float>) {
      to[i] = line[i];
    } else {
      to[i] = static_cast<T>(std::clamp(rounded<int>(line[i]), 0, static_cast<int>(kWhite<T>)));
    }
  }
}

template <class T>
void scaleBand(const Job& job, int top) {
  const int channels = job.result.channels(), width = job.result.width();
  std::vector<float> blended(static_cast<std::size_t>(job.from.width * channels + kLanes));
  std::vector<float> line(static_cast<std::size_t>(width * channels + kLanes));
  for (int y = top; y < std::min(top + kBandRows, job.result.height()); ++y) {
    blendRows<T>(job, y, blended.data());
    scaleLine(job.columns, width, channels, blended.data(), line.data());
    storeLine(line.data(), job.result.row<T>(y), width * channels);
  }
}

void scaleOnAllCores(const Job& job) {
  const int bands = (job.result.height() + kBandRows - 1) / kBandRows;
  withSampleType(job.result.sample(), [&]<class T>(T) {
    forEach(bands, allCores(), {}, [&](int band) { scaleBand<T>(job, band * kBandRows); });
  });
}

void crop(Image& to, const Image& picture, const Area& area) {
  withSampleType(picture.sample(), [&](auto type) {
    using T = decltype(type);
    for (int y = 0; y < area.height; ++y) {
      const T* from = picture.pixel<T>(area.left, area.top + y);
      std::copy_n(from, area.width * picture.channels(), to.row<T>(y));
    }
  });
}

}  // namespace

void scaleBicubicInto(Image& to, const Image& picture, Area from) {
  checkArea(picture, from);
  if (to.width() == from.width && to.height() == from.height) return crop(to, picture, from);
  try {
    scaleOnAllCores({picture, from, to, FilterTaps(from.width, to.width()), FilterTaps(from.height, to.height())});
  } catch (const std::bad_alloc&) {
    throw Error("cannot scale the picture: there is not enough memory; make it smaller");
  }
}

Image scaleBicubic(const Image& picture, Area from, int width, int height) {
  Image result(width, height, picture.channels(), picture.sample(), Filling::None);
  scaleBicubicInto(result, picture, from);
  return result;
}

}  // namespace quillmere::image
