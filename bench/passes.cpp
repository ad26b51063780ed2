// What passes cost beside the guide that they are drawn with:
//   passes SCENE.glb... [--rounds N]
// draws each scene's quick guide through its first camera alone, with each pass and with all of them, in turn, and
// prints the processor time of each (the least of the rounds) and its ratio to the guide alone. Files aren't written.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

#include "base/error.h"
#include "render/renderer.h"

namespace quillmere {
namespace {

using render::Pass;

constexpr int kWidth = 1024, kHeight = 576;

struct Case {
  const char* name;
  render::PassSet passes;
  int matteLayers = 1;  // as pictures need them; 3 as an EXR does
  std::vector<double> seconds = {};
};

std::vector<Case> cases() {
  const render::PassSet all{Pass::Color,  Pass::Depth,    Pass::Normal, Pass::Position,
                            Pass::Object, Pass::Material, Pass::Albedo, Pass::Lines};
  return {{"guide", {}},
          {"depth", {Pass::Depth}},
          {"normal", {Pass::Normal}},
          {"position", {Pass::Position}},
          {"object", {Pass::Object}},
          {"material", {Pass::Material}},
          {"albedo", {Pass::Albedo}},
          {"lines", {Pass::Lines}},
          {"depth, lines, object", {Pass::Depth, Pass::Lines, Pass::Object}},
          {"all, for an EXR", all, 3}};
}

double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void draw(render::Renderer& renderer, const scene::Camera& camera, const Case& what) {
  if (what.passes.empty()) {
    renderer.drawQuick(camera, kWidth, kHeight);
    return;
  }
  render::PassRequest request{what.passes, {}, {}, what.matteLayers};
  request.passes.add(Pass::Picture);
  renderer.drawPasses(camera, kWidth, kHeight, request);
}

// What is measured beside other processes is too long, never too short.
double least(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

void measure(const std::string& file, int rounds) {
  render::Renderer renderer(scene::load(file));
  renderer.pose(0.0);
  if (renderer.snapshot().cameras.empty()) throw Error("'" + file + "' has no camera; give a scene that has one");
  const scene::Camera camera = renderer.snapshot().cameras.front();
  std::vector<Case> all = cases();
  for (int round = 0; round <= rounds; ++round) {  // the first one warms up
    for (Case& one : all) {
      const double begun = processorSeconds();
      draw(renderer, camera, one);
      if (round > 0) one.seconds.push_back(processorSeconds() - begun);
    }
  }
  std::printf("%s, %d x %d\n", file.c_str(), kWidth, kHeight);
  const double guide = least(all.front().seconds);
  for (const Case& one : all) {
    std::printf("  %-22s %7.1f ms  %.2f\n", one.name, 1e3 * least(one.seconds), least(one.seconds) / guide);
  }
}

}  // namespace
}  // namespace quillmere

int main(int argc, char** argv) {
  int rounds = 21;
  std::vector<std::string> scenes;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--rounds" && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else {
      scenes.push_back(argument);
    }
  }
  try {
    for (const std::string& scene : scenes) quillmere::measure(scene, rounds);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "passes: %s\n", error.what());
    return 1;
  }
  return 0;
}
