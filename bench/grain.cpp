// How far pictures are from one without grain:
//   grain TRUTH PICTURE...
// prints a line for each picture: the root mean square of what its stored values (0 to 1) are off by, and the
// structural similarity (Z. Wang et al., Image Quality Assessment, 2004; mean over windows of 8 x 8 of the luma), and
// the mean of the true picture's values.
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <numeric>
#include <string>
#include <vector>

#include "base/error.h"
#include "image/conversion.h"
#include "image/file_formats.h"

namespace quillmere {
namespace {

double rootMeanSquare(const image::Image& a, const image::Image& b) {
  double sum = 0.0;
  const int values = 3 * a.width();
  for (int y = 0; y < a.height(); ++y) {
    const float *x = a.row<float>(y), *other = b.row<float>(y);
    for (int i = 0; i < values; ++i) sum += (double{x[i]} - other[i]) * (double{x[i]} - other[i]);
  }
  return std::sqrt(sum / values / a.height());
}

double meanValue(const image::Image& picture) {
  double sum = 0.0;
  const int values = 3 * picture.width();
  for (int y = 0; y < picture.height(); ++y)
    sum = std::accumulate(picture.row<float>(y), picture.row<float>(y) + values, sum);
  return sum / values / picture.height();
}

double luma(const image::Image& picture, int x, int y) {
  const float* rgb = picture.pixel<float>(x, y);
  return 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
}

double similarity(const image::Image& a, const image::Image& b, int left, int top) {
  constexpr int kSide = 8, kCount = kSide * kSide;
  double sumA = 0, sumB = 0, squaresA = 0, squaresB = 0, products = 0;
  for (int i = 0; i < kCount; ++i) {
    const double x = luma(a, left + i % kSide, top + i / kSide), y = luma(b, left + i % kSide, top + i / kSide);
    sumA += x, sumB += y, squaresA += x * x, squaresB += y * y, products += x * y;
  }
  const double meanA = sumA / kCount, meanB = sumB / kCount;
  const double varianceA = squaresA / kCount - meanA * meanA, varianceB = squaresB / kCount - meanB * meanB;
  const double shared = products / kCount - meanA * meanB;
  constexpr double kC1 = 1e-4, kC2 = 9e-4;
  return (2 * meanA * meanB + kC1) * (2 * shared + kC2) /
         ((meanA * meanA + meanB * meanB + kC1) * (varianceA + varianceB + kC2));
}

double structuralSimilarity(const image::Image& a, const image::Image& b) {
  double sum = 0.0;
  int windows = 0;
  for (int top = 0; top + 8 <= a.height(); top += 4) {
    for (int left = 0; left + 8 <= a.width(); left += 4, ++windows) sum += similarity(a, b, left, top);
  }
  return sum / windows;
}

image::Image pictureIn(const std::string& file) {
  return image::withChannels(image::convert(image::read(file), image::Sample::Float), 3);
}

void measure(const std::string& truthFile, const std::vector<std::string>& files) {
  const image::Image truth = pictureIn(truthFile);
  for (const std::string& file : files) {
    const image::Image picture = pictureIn(file);
    if (picture.width() != truth.width() || picture.height() != truth.height()) {
      throw Error("'" + file + "' has another size than '" + truthFile + "'; draw both alike");
    }
    std::printf("%.6f %.5f %.5f\n", rootMeanSquare(picture, truth), structuralSimilarity(picture, truth),
                meanValue(truth));
  }
}

}  // namespace
}  // namespace quillmere

int main(int count, char** arguments) {
  if (count < 3) {
    std::fprintf(stderr, "usage: grain TRUTH PICTURE...\n");
    return 2;
  }
  try {
    quillmere::measure(arguments[1], {arguments + 2, arguments + count});
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "grain: %s\n", error.what());
    return 1;
  }
}
