// What the effect itself does in a frame: guide capture, and result transfer from a PNG file into the render buffer.
// The scene is the file that QUILLMERE_BENCH_SCENE names.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "door/document.h"
#include "door/render_call.h"
#include "door/text.h"
#include "guide_capture.h"
#include "image/file_formats.h"
#include "result_transfer.h"

namespace quillmere {
namespace {

namespace fs = std::filesystem;
using namespace cinema;

fs::path folder() {
  return fs::temp_directory_path();
}

struct Session {
  host::Events events;
  host::Application application{folder(), events};
};

image::Image gradient(int width, int height) {
  image::Image picture(width, height, 3, image::Sample::Byte);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width * 3; ++x) picture.row<std::uint8_t>(y)[x] = static_cast<std::uint8_t>((x / 8 + y) & 255);
  }
  return picture;
}

void transfer(benchmark::State& state, int width, int height) {
  Session session;
  const fs::path file = folder() / "quillmere_bench_result.png";
  image::writePng(file, gradient(width, height));
  const host::RenderCall::Buffer buffer{static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 4};
  host::RenderCall call(nullptr, buffer, [] { return false; });
  VideoPostStruct& vps = call.at(VIDEOPOSTCALL::RENDER, false);
  for (auto _ : state) {
    Filename result = host::filenameOf(file);
    TransferResult(&vps, result);
  }
  fs::remove(file);
}

void TransferOfTheBuffersSize(benchmark::State& state) {
  transfer(state, static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}
void TransferStretchedFrom1024x576(benchmark::State& state) {
  transfer(state, 1024, 576);
}

// The part of a transfer that is the picture library's.
void LoadResult(benchmark::State& state) {
  const fs::path file = folder() / "quillmere_bench_result.png";
  image::writePng(file, gradient(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))));
  for (auto _ : state) benchmark::DoNotOptimize(image::read(file));
  fs::remove(file);
}

void GuideCapture(benchmark::State& state) {
  const char* const scene = std::getenv("QUILLMERE_BENCH_SCENE");
  if (!scene) return state.SkipWithError("QUILLMERE_BENCH_SCENE names no scene");
  Session session;
  host::Document document(scene);
  BaseObject* const camera = document.api().GetSceneCamera();
  const fs::path file = folder() / "quillmere_bench_guide.png";
  for (auto _ : state) {
    if (!CaptureViewportGuide(&document.api(), camera, static_cast<int>(state.range(0)),
                              static_cast<int>(state.range(1)), host::filenameOf(file))) {
      return state.SkipWithError("the guide could not be captured");
    }
  }
  fs::remove(file);
}

void usualSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({1920, 1080})
      ->Args({3840, 2160})
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
}
BENCHMARK(LoadResult)->Apply(usualSizes);
BENCHMARK(TransferOfTheBuffersSize)->Apply(usualSizes);
BENCHMARK(TransferStretchedFrom1024x576)->Apply(usualSizes);
BENCHMARK(GuideCapture)->Args({1024, 576})->Apply(usualSizes);

}  // namespace
}  // namespace quillmere
