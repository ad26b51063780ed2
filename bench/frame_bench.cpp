// What the effect itself does in a frame: guide capture, and result transfer from a PNG file into the render buffer.
// The scene is the file that QUILLMERE_BENCH_SCENE names.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/document.h"
#include "api/frame.h"
#include "core/substitutes.h"
#include "core/text.h"
#include "description/vpquillmere.h"
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

// What a transfer can't do without beside reading: as many floats as the buffer holds, from one place to another.
void CopyOfTheBuffer(benchmark::State& state) {
  const std::vector<float> from(static_cast<std::size_t>(state.range(0) * state.range(1) * 4), 0.5F);
  std::vector<float> to(from.size());
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), from.size() * sizeof(float));
    benchmark::ClobberMemory();
  }
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

// A python3 that is first on the PATH and ends at once; the response it would have written is there already.
class InstantHelper {
 public:
  explicit InstantHelper(const fs::path& place) : place_(place) {
    fs::create_directories(place_ / "bin");
    std::ofstream(place_ / "bin/python3") << "#!/bin/sh\nexit 0\n";
    fs::permissions(place_ / "bin/python3", fs::perms::owner_all);
    const fs::path runtime = place_ / "quillmere/c4d/runtime";
    fs::create_directories(runtime);
    image::writePng(place_ / "result.png", gradient(1024, 576));
    std::ofstream(runtime / "response_0.json")
        << R"({"ok": true, "first_output": ")" << (place_ / "result.png").string() << "\"}";
    setenv("PATH", ((place_ / "bin").string() + ":" + std::getenv("PATH")).c_str(), 1);
  }
  ~InstantHelper() { fs::remove_all(place_); }
  InstantHelper(const InstantHelper&) = delete;
  InstantHelper& operator=(const InstantHelper&) = delete;

 private:
  fs::path place_;
};

// A moment by the clock, and by the time that this thread has been computing.
struct Moment {
  double wall = 0, busy = 0;  // seconds

  static Moment now() { return {secondsOf(CLOCK_MONOTONIC), secondsOf(CLOCK_THREAD_CPUTIME_ID)}; }
  Moment operator-(const Moment& other) const { return {wall - other.wall, busy - other.busy}; }

 private:
  static double secondsOf(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  }
};

// When the stages of a frame began and ended.
struct Stages : host::Events {
  void statusText(const std::string& text) override {
    if (text.rfind("Rendering guide", 0) == 0) guideBegan = Moment::now();
    if (text.rfind("Preparing", 0) == 0) helperBegan = Moment::now();
    if (text == "Render complete") helperEnded = Moment::now();
  }

  Moment guideBegan, guideEnded, helperBegan, helperEnded, transferBegan, readingEnded;
};

// What a frame of 1024 x 576 by the module as loaded from disk takes besides the guide and the pauses of 120 ms in
// which the helper runs: from the first render call to the frame's picture, less those two. transfer_ms is the result
// transfer's share of it, reading_ms the picture library's of that, and rest_ms what all else takes; busy_ms is the
// whole but for what other processes took in the meantime.
void FrameBesidesGuideAndHelper(benchmark::State& state) {
  const char* const scene = std::getenv("QUILLMERE_BENCH_SCENE");
  if (!scene) return state.SkipWithError("QUILLMERE_BENCH_SCENE names no scene");
  const fs::path place = folder() / "quillmere_bench_frame";
  const InstantHelper helper(place);
  Stages stages;
  host::Application application(place, stages);
  application.loadPlugin(QUILLMERE_PLUGIN_FOLDER);
  host::Document document(scene);
  document.setSize(1024, 576);
  BaseVideoPost& node = document.addVideoPost(1060500);
  node.GetDataInstance()->SetString(QUILLMERE_WORKFLOW_PATH, String("/instant.json"));
  const auto save = host::operations().saveBitmap;
  const host::Substitute watched(host::operations().saveBitmap, [&](const auto&... arguments) {
    const IMAGERESULT result = save(arguments...);
    stages.guideEnded = Moment::now();
    return result;
  });
  const auto load = host::operations().loadBitmap;
  const host::Substitute watchedToo(host::operations().loadBitmap, [&](auto&&... arguments) {
    stages.transferBegan = Moment::now();
    const IMAGERESULT result = load(arguments...);
    stages.readingEnded = Moment::now();
    return result;
  });
  double guides = 0, busy = 0, transfers = 0, readings = 0, rests = 0;
  for (auto _ : state) {
    const Moment began = Moment::now();
    if (host::renderFrame(document, [] { return false; }).result != RENDERRESULT::OK) {
      return state.SkipWithError("the frame failed");
    }
    const Moment ended = Moment::now(), whole = ended - began, guide = stages.guideEnded - stages.guideBegan;
    const double pause = 0.12, pauses = std::floor((stages.helperEnded - stages.helperBegan).wall / pause);
    const double besides = whole.wall - guide.wall - pauses * pause;
    state.SetIterationTime(besides);
    rests += 1000 * (besides - (ended - stages.transferBegan).wall);
    guides += 1000 * guide.wall;
    busy += 1000 * (whole - guide).busy;
    transfers += 1000 * (ended - stages.transferBegan).wall;
    readings += 1000 * (stages.readingEnded - stages.transferBegan).wall;
  }
  for (const auto& [name, sum] :
       {std::pair("guide_ms", guides), std::pair("rest_ms", rests), std::pair("transfer_ms", transfers),
        std::pair("reading_ms", readings), std::pair("busy_ms", busy)}) {
    state.counters[name] = benchmark::Counter(sum, benchmark::Counter::kAvgIterations);
  }
}

void usualSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({1920, 1080})
      ->Args({3840, 2160})
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
}
BENCHMARK(CopyOfTheBuffer)->Apply(usualSizes);
BENCHMARK(LoadResult)->Apply(usualSizes);
BENCHMARK(TransferOfTheBuffersSize)->Apply(usualSizes);
BENCHMARK(TransferStretchedFrom1024x576)->Apply(usualSizes);
BENCHMARK(GuideCapture)->Args({1024, 576})->Apply(usualSizes);
BENCHMARK(FrameBesidesGuideAndHelper)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace
}  // namespace quillmere
