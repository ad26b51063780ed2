#include "posed_scene.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "material_filter.h"

namespace quillmere::render {
namespace {

bool isPlace(const glm::mat4& toWorld) {
  const float volume = std::abs(glm::determinant(glm::mat3(toWorld)));
  bool finite = std::isnormal(volume) && std::isfinite(1.0F / volume);
  for (int c = 0; c < 4; ++c) {
    for (int r = 0; r < 4; ++r) finite = finite && std::isfinite(toWorld[c][r]);
  }
  return finite;
}

bool sameSurfaces(const scene::Snapshot& a, const scene::Snapshot& b) {
  return std::ranges::equal(a.surfaces, b.surfaces, [](const scene::Surface& x, const scene::Surface& y) {
    return x.geometry == y.geometry && x.material == y.material && x.toWorld == y.toWorld;
  });
}

Shape shapeOf(const Instance& instance) {
  return {instance.surface->geometry, instance.appearance->filtered ? Hits::Filtered : Hits::Plain};
}

void attach(RTCDevice device, RTCScene into, RTCScene shape, const glm::mat4& toWorld, unsigned int id) {
  const GeometryHandle placed(rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE));
  rtcSetGeometryInstancedScene(placed.get(), shape);
  rtcSetGeometryTransform(placed.get(), 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, &toWorld[0][0]);
  rtcCommitGeometry(placed.get());
  rtcAttachGeometryByID(into, placed.get(), id);
}

}  // namespace

PosedScene::PosedScene(std::shared_ptr<const scene::Scene> scene)
    : scene_(std::move(scene)),
      appearances_(prepareAppearances(scene_->materials())),
      device_(makeDevice()),
      shapes_(device_.get(), filterByMaterial) {
  build();
}

void PosedScene::pose(double seconds) {
  scene::Snapshot next = scene_->at(seconds);
  const bool rebuild = !visible_ || !sameSurfaces(snapshot_, next);
  snapshot_ = std::move(next);
  placeInstances();
  if (rebuild) build();
}

void PosedScene::placeInstances() {
  instances_.clear();
  for (const scene::Surface& surface : snapshot_.surfaces) {
    if (!surface.geometry || !isPlace(surface.toWorld)) continue;
    const Appearance& appearance = appearances_[static_cast<std::size_t>(surface.material)];
    instances_.push_back({&surface, &appearance, glm::transpose(glm::inverse(glm::mat3(surface.toWorld)))});
  }
}

void PosedScene::build() {
  visible_.reset();
  std::vector<Shape> shapes;
  std::ranges::transform(instances_, std::back_inserter(shapes), shapeOf);
  shapes_.keep(shapes);
  const auto isUnlit = [](const Instance& instance) { return instance.appearance->material->unlit; };
  SceneHandle visible(rtcNewScene(device_.get()));
  solid_.reset(std::ranges::any_of(instances_, isUnlit) ? rtcNewScene(device_.get()) : nullptr);
  for (std::size_t i = 0; i < instances_.size(); ++i) {
    const RTCScene shape = shapes_.find(shapes[i]);
    const glm::mat4& toWorld = instances_[i].surface->toWorld;
    const auto id = static_cast<unsigned int>(i);
    attach(device_.get(), visible.get(), shape, toWorld, id);
    if (solid_ && !isUnlit(instances_[i])) attach(device_.get(), solid_.get(), shape, toWorld, id);
  }
  rtcCommitScene(visible.get());
  if (solid_) rtcCommitScene(solid_.get());
  throwOnError(device_.get(), "prepare the scene for ray tracing");
  visible_ = std::move(visible);
}

}  // namespace quillmere::render
