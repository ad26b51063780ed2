// Scenes: one that loads must keep what scene.h promises, and give pictures.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "render/renderer.h"
#include "scene/scene.h"
#include "temporary_folder.h"

namespace quillmere {
namespace {

using scene::Geometry;

void expect(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "not kept: %s\n", promise);
  std::abort();
}

template <class Vector>
bool isBounded(const Vector& vector) {
  for (glm::length_t i = 0; i < vector.length(); ++i) {
    if (!(std::abs(vector[i]) <= 1e9F)) return false;
  }
  return true;
}

template <class Vectors>
bool areBounded(const Vectors& vectors) {
  return std::all_of(vectors.begin(), vectors.end(), [](const auto& vector) { return isBounded(vector); });
}

void expectSound(const Geometry& geometry) {
  const std::size_t count = geometry.positions.size();
  expect(geometry.indices.size() % 3 == 0, "three indices a triangle");
  for (const std::uint32_t index : geometry.indices) expect(index < count, "indices below the number of positions");
  for (const std::size_t size : {geometry.normals.size(), geometry.uvs.size(), geometry.colors.size()})
    expect(size == 0 || size == count, "arrays as long as the positions");
  expect(areBounded(geometry.positions), "bounded positions");
  expect(areBounded(geometry.uvs) && areBounded(geometry.colors), "bounded texture coordinates and colours");
  for (const glm::vec3& normal : geometry.normals)
    expect(std::abs(glm::length(normal) - 1.0F) < 1e-3F, "normals of unit length");
}

void expectSound(const scene::Snapshot& snapshot, const scene::Scene& scene) {
  for (const scene::Surface& surface : snapshot.surfaces) {
    expect(static_cast<std::size_t>(surface.material) < scene.materials().size(), "a material that is there");
    for (glm::length_t column = 0; column < 4; ++column) expect(isBounded(surface.toWorld[column]), "a bounded place");
    expectSound(*surface.geometry);
  }
  expect(snapshot.cameras.size() == scene.cameras().size(), "a view for each camera");
  for (const scene::Camera& camera : snapshot.cameras) {
    for (glm::length_t axis = 0; axis < 3; ++axis)
      expect(std::abs(glm::length(glm::vec3(camera.toWorld[axis])) - 1.0F) < 1e-3F, "cameras that are only turned");
  }
}

void draw(const std::shared_ptr<const scene::Scene>& scene) {
  render::Renderer renderer(scene);
  for (const double seconds : {0.0, 0.37 * scene->duration()}) {
    renderer.pose(seconds);
    expectSound(renderer.snapshot(), *scene);
    std::vector<scene::Camera> cameras = renderer.snapshot().cameras;
    cameras.resize(std::clamp<std::size_t>(cameras.size(), 1, 2));
    for (const scene::Camera& camera : cameras) {
      expect(renderer.drawQuick(camera, 16, 16).width() == 16, "a quick picture");
      expect(renderer.drawFinal(camera, 8, 8, {1}).width() == 8, "a final picture");
    }
  }
}

// With a file beside the scenes that they may name: the corners of a triangle.
struct SceneFolder : TemporaryFolder {
  SceneFolder() {
    const float corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    write("a.bin", {reinterpret_cast<const char*>(corners), sizeof corners});
  }
};

void read(const std::string& content) {
  static const SceneFolder folder;
  const auto file = folder.write("scene.glb", content);
  try {
    draw(scene::load(file));
  } catch (const Error&) {
  }
}

}  // namespace
}  // namespace quillmere

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillmere::read({reinterpret_cast<const char*>(data), size});
  return 0;
}
