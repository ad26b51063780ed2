// Writing and reading PNG files of the usual sizes, with pixels like those of a rendering: gradients and some noise.
#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>

#include "image/file_formats.h"

namespace quillmere::image {
namespace {

Image rendering(int width, int height) {
  Image picture(width, height, 3, Sample::Byte);
  unsigned noise = 1;
  for (int y = 0; y < height; ++y) {
    auto* row = picture.row<std::uint8_t>(y);
    for (int x = 0; x < width * 3; ++x) {
      noise = noise * 1664525U + 1013904223U;
      row[x] = static_cast<std::uint8_t>(128.0 + 90.0 * std::sin(x * 0.004) * std::cos(y * 0.01) + (noise >> 30));
    }
  }
  return picture;
}

std::filesystem::path target() {
  return std::filesystem::temp_directory_path() / "quillmere_bench.png";
}

void WritePng(benchmark::State& state) {
  const Image picture = rendering(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) writePng(target(), picture);
  state.counters["file kB"] = static_cast<double>(std::filesystem::file_size(target())) / 1024;
  std::filesystem::remove(target());
}

void ReadPng(benchmark::State& state) {
  writePng(target(), rendering(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))));
  for (auto _ : state) benchmark::DoNotOptimize(read(target()));
  std::filesystem::remove(target());
}

BENCHMARK(WritePng)->Args({1024, 576})->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMillisecond);
BENCHMARK(ReadPng)->Args({1024, 576})->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillmere::image
