// How far final pictures are from what they would be without grain:
//   grain SCENE.glb... [--reference N]
// draws each scene through its first camera with 4, 16 and 64 samples of a pixel and with N (4096), and prints for each
// the time, the root mean square error of the stored values, and the structural similarity (Z. Wang et al., Image
// Quality Assessment, 2004; mean over windows of 8 x 8 of the luma).
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "base/error.h"
#include "render/renderer.h"

namespace quillmere {
namespace {

constexpr int kWidth = 320, kHeight = 180;

double rootMeanSquare(const image::Image& a, const image::Image& b) {
  const float *x = a.row<float>(0), *y = b.row<float>(0);
  double sum = 0.0;
  for (int i = 0; i < 3 * kWidth * kHeight; ++i) sum += (double{x[i]} - y[i]) * (double{x[i]} - y[i]);
  return std::sqrt(sum / (3 * kWidth * kHeight));
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
  for (int top = 0; top + 8 <= kHeight; top += 4) {
    for (int left = 0; left + 8 <= kWidth; left += 4, ++windows) sum += similarity(a, b, left, top);
  }
  return sum / windows;
}

void measure(const std::string& file, int reference) {
  render::Renderer renderer(scene::load(file));
  renderer.pose(0.0);
  if (renderer.snapshot().cameras.empty()) throw Error("'" + file + "' has no camera; add one");
  const scene::Camera camera = renderer.snapshot().cameras.front();
  const auto drawn = [&](int samples, std::uint32_t seed) {
    render::FinalSettings settings;
    settings.samples = samples;
    settings.seed = seed;
    return renderer.drawFinal(camera, kWidth, kHeight, settings);
  };
  const image::Image truth = drawn(reference, 2);
  std::printf("%s\n", file.c_str());
  for (const int samples : {4, 16, 64}) {
    const auto begun = std::chrono::steady_clock::now();
    const image::Image picture = drawn(samples, 1);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
    std::printf("  %3d samples  %7.3f s  RMSE %.5f  SSIM %.4f\n", samples, taken.count(),
                rootMeanSquare(picture, truth), structuralSimilarity(picture, truth));
  }
}

int run(const std::vector<std::string>& arguments) {
  int reference = 4096;
  std::vector<std::string> scenes;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--reference" && i + 1 < arguments.size()) {
      reference = std::max(1, std::atoi(arguments[++i].c_str()));
    } else {
      scenes.push_back(arguments[i]);
    }
  }
  try {
    for (const std::string& scene : scenes) measure(scene, reference);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "grain: %s\n", error.what());
    return 1;
  }
}

}  // namespace
}  // namespace quillmere

int main(int count, char** arguments) {
  return quillmere::run({arguments + 1, arguments + count});
}
