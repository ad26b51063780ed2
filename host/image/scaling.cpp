#include "scaling.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "filter_taps.h"
#include "sample_values.h"

namespace quillmere::image {

namespace {

constexpr int kBandRows = 32;  // what a thread takes at a time
constexpr int kLanes = 4;      // a pixel of any channels is worked on as one vector of four

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
void scaleBands(const Job& job, std::atomic<int>& nextBand) {
  const int channels = job.result.channels(), width = job.result.width();
  std::vector<float> blended(static_cast<std::size_t>(job.from.width * channels + kLanes));
  std::vector<float> line(static_cast<std::size_t>(width * channels + kLanes));
  for (int top = nextBand++ * kBandRows; top < job.result.height(); top = nextBand++ * kBandRows) {
    for (int y = top; y < std::min(top + kBandRows, job.result.height()); ++y) {
      blendRows<T>(job, y, blended.data());
      scaleLine(job.columns, width, channels, blended.data(), line.data());
      storeLine(line.data(), job.result.row<T>(y), width * channels);
    }
  }
}

void scaleOnAllCores(const Job& job) {
  std::atomic<int> nextBand = 0;
  const auto work = [&] {
    withSampleType(job.result.sample(), [&](auto type) { scaleBands<decltype(type)>(job, nextBand); });
  };
  std::vector<std::future<void>> others;  // their destructors join
  const int bands = (job.result.height() + kBandRows - 1) / kBandRows;
  const int threads = std::min(bands, static_cast<int>(std::thread::hardware_concurrency()));
  try {
    for (int i = 1; i < threads; ++i) others.push_back(std::async(std::launch::async, work));
  } catch (const std::system_error&) {
    // No more threads to be had: fewer do the same work.
  }
  work();
  for (auto& other : others) other.get();
}

Image crop(const Image& picture, const Area& area) {
  Image result(area.width, area.height, picture.channels(), picture.sample(), Filling::None);
  withSampleType(picture.sample(), [&](auto type) {
    using T = decltype(type);
    for (int y = 0; y < area.height; ++y) {
      const T* from = picture.pixel<T>(area.left, area.top + y);
      std::copy_n(from, area.width * picture.channels(), result.row<T>(y));
    }
  });
  return result;
}

}  // namespace

Image scaleBicubic(const Image& picture, Area from, int width, int height) {
  checkArea(picture, from);
  if (width == from.width && height == from.height) return crop(picture, from);
  Image result(width, height, picture.channels(), picture.sample(), Filling::None);
  try {
    scaleOnAllCores({picture, from, result, FilterTaps(from.width, width), FilterTaps(from.height, height)});
  } catch (const std::bad_alloc&) {
    throw Error("cannot scale the picture: there is not enough memory; make it smaller");
  }
  return result;
}

}  // namespace quillmere::image
