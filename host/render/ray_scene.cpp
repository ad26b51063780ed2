#include "ray_scene.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "sampling.h"
#include "sky_search.h"

namespace quillmere::render {
namespace {

// What the filter must know of the rays that it decides about.
struct TraceContext : RTCIntersectContext {
  TraceContext(const RayScene& traced, RayUse purpose) : scene(traced), use(purpose) {
    rtcInitIntersectContext(this);
    flags = use == RayUse::Camera ? RTC_INTERSECT_CONTEXT_FLAG_COHERENT : RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
  }

  const RayScene& scene;
  RayUse use;
};

constexpr float kInvisible = 1.0F / 512.0F;  // of a surface that blends: alphas up to here are taken for 0

bool facesAway(const RTCFilterFunctionNArguments& question, unsigned int ray) {
  const unsigned int count = question.N;
  const float along = RTCRayN_dir_x(question.ray, count, ray) * RTCHitN_Ng_x(question.hit, count, ray) +
                      RTCRayN_dir_y(question.ray, count, ray) * RTCHitN_Ng_y(question.hit, count, ray) +
                      RTCRayN_dir_z(question.ray, count, ray) * RTCHitN_Ng_z(question.hit, count, ray);
  return along > 0.0F;  // both are in object space, where front faces run counter-clockwise whatever mirrors them
}

bool isSeen(const RTCFilterFunctionNArguments& question, unsigned int ray) {
  const auto& context = *static_cast<const TraceContext*>(question.context);
  const unsigned int count = question.N;
  const std::uint32_t id = RTCHitN_instID(question.hit, count, ray, 0);
  const Instance& instance = context.scene.instances()[id];
  const ShadingMaterial& material = *instance.material;
  if (material.frontOnly && facesAway(question, ray) == (context.use != RayUse::Shadow)) return false;
  const scene::Material::Alpha kind = material.definition->alpha;
  if (kind == scene::Material::Alpha::Opaque) return true;

  const TrianglePoint point{RTCHitN_primID(question.hit, count, ray), RTCHitN_u(question.hit, count, ray),
                            RTCHitN_v(question.hit, count, ray)};
  const float alpha = alphaOf(material, *instance.surface->geometry, point);
  if (kind == scene::Material::Alpha::Mask) return alpha >= material.definition->alphaCutoff;
  if (context.use == RayUse::Camera) return alpha > kInvisible;
  const std::uint32_t random = RTCRayN_id(question.ray, count, ray);
  return unitFloat(mixed(random ^ mixed(point.triangle ^ mixed(id)))) < alpha;
}

// Embree's question about hits on a filtered shape: takes out those where the surface can't be seen.
void filterByMaterial(const RTCFilterFunctionNArguments* question) {
  for (unsigned int ray = 0; ray < question->N; ++ray) {
    if (question->valid[ray] == -1 && !isSeen(*question, ray)) question->valid[ray] = 0;
  }
}

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
  const ShadingMaterial& material = *instance.material;
  // Embree 3.13 ends the program where a trace with a filter of its own meets a filtered shape that has no room for it.
  const bool isAsked = material.frontOnly || material.filtered;
  return {instance.surface->geometry, material.filtered, isAsked ? TraceFilters::Yes : TraceFilters::No};
}

bool stopsLight(const Instance& instance) {
  return !instance.sky && !instance.material->definition->unlit;
}

void attach(RTCDevice device, RTCScene into, RTCScene shape, const glm::mat4& toWorld, unsigned int id) {
  const GeometryHandle placed(rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE));
  rtcSetGeometryInstancedScene(placed.get(), shape);
  rtcSetGeometryTransform(placed.get(), 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, &toWorld[0][0]);
  rtcCommitGeometry(placed.get());
  rtcAttachGeometryByID(into, placed.get(), id);
}

}  // namespace

RayScene::RayScene(std::shared_ptr<const scene::Scene> scene, SingleSided singleSided)
    : scene_(std::move(scene)),
      materials_(shadingMaterials(scene_->materials(), singleSided)),
      device_(makeDevice()),
      shapes_(device_.get(), filterByMaterial) {
  build();
}

void RayScene::pose(double seconds) {
  scene::Snapshot next = scene_->at(seconds);
  const bool rebuild = !visible_ || !sameSurfaces(snapshot_, next);
  snapshot_ = std::move(next);
  placeInstances();
  if (rebuild) {
    build();
  } else {
    findSkies();
  }
}

void RayScene::placeInstances() {
  instances_.clear();
  hasFronts_ = false;
  for (const scene::Surface& surface : snapshot_.surfaces) {
    if (!surface.geometry || !isPlace(surface.toWorld)) continue;
    const ShadingMaterial& material = materials_[static_cast<std::size_t>(surface.material)];
    hasFronts_ = hasFronts_ || material.frontOnly;
    const glm::mat3 turned(surface.toWorld);
    instances_.push_back({&surface, &material, glm::transpose(glm::inverse(turned)),
                          glm::determinant(turned) < 0.0F ? -1.0F : 1.0F, false});
  }
}

void RayScene::build() {
  visible_.reset();
  std::vector<Shape> shapes;
  std::ranges::transform(instances_, std::back_inserter(shapes), shapeOf);
  shapes_.keep(shapes);
  requireMemoryForBuild(0, 3 * instances_.size());  // visible, solid and skies
  findSkies();
  SceneHandle visible(newScene(device_.get(), TraceFilters::No));
  const bool allSolid = std::ranges::all_of(instances_, stopsLight);
  const bool anySky = std::ranges::any_of(instances_, [](const Instance& instance) { return instance.sky; });
  solid_.reset(allSolid ? nullptr : newScene(device_.get(), TraceFilters::No).release());
  skies_.reset(anySky ? newScene(device_.get(), TraceFilters::No).release() : nullptr);
  for (std::size_t i = 0; i < instances_.size(); ++i) {
    const RTCScene shape = shapes_.find(shapes[i]);
    const glm::mat4& toWorld = instances_[i].surface->toWorld;
    const auto id = static_cast<unsigned int>(i);
    attach(device_.get(), visible.get(), shape, toWorld, id);
    if (solid_ && stopsLight(instances_[i])) attach(device_.get(), solid_.get(), shape, toWorld, id);
    if (instances_[i].sky) attach(device_.get(), skies_.get(), shape, toWorld, id);
  }
  if (skies_) rtcCommitScene(skies_.get());
  rtcCommitScene(visible.get());
  if (solid_) rtcCommitScene(solid_.get());
  throwOnError(device_.get(), "prepare the scene for ray tracing");
  visible_ = std::move(visible);
}

// Up to a few, the largest first: clouds before a sky.
void RayScene::findSkies() {
  constexpr int kMost = 4;
  std::vector<Bounds> bounds;
  bounds.reserve(instances_.size());
  for (const Instance& instance : instances_) {
    RTCBounds local;
    rtcGetSceneBounds(shapes_.find(shapeOf(instance)), &local);
    bounds.push_back(boundsInWorld(local, instance.surface->toWorld));
  }
  for (int i = 0; i < kMost; ++i) {
    std::size_t largest = instances_.size();
    for (std::size_t k = 0; k < bounds.size(); ++k) {
      if (!instances_[k].sky && (largest == bounds.size() || bounds[k].size() > bounds[largest].size())) largest = k;
    }
    Bounds rest;
    for (std::size_t k = 0; k < bounds.size(); ++k) {
      if (k != largest && !instances_[k].sky) rest.add(bounds[k]);
    }
    if (largest == bounds.size() || rest.empty() || !bounds[largest].encloses(rest)) return;
    const bool unlit = instances_[largest].material->definition->unlit;
    if (!unlit && !isLitSky(snapshot_, *instances_[largest].surface, bounds[largest], rest)) return;
    instances_[largest].sky = true;
  }
}

RTCScene RayScene::sceneFor(RayUse use) const {
  return use == RayUse::Camera ? visible_.get() : use == RayUse::Sky ? skies_.get() : solid();
}

void RayScene::intersect(const int* valid, RTCRayHit16& rays, RayUse use) const {
  TraceContext context(*this, use);
  if (!hasFronts_) return rtcIntersect16(valid, sceneFor(use), &context, &rays);
  RayEnds ends;
  std::ranges::copy(rays.ray.tfar, ends.begin());
  rtcIntersect16(valid, sceneFor(use), &context, &rays);
  findFronts(valid, ends, rays, use);
}

// Few rays meet a back before any front, so only those pay for being asked about each hit.
void RayScene::findFronts(const int* valid, const RayEnds& ends, RTCRayHit16& rays, RayUse use) const {
  alignas(64) int again[kPacketRays];
  bool any = false;
  for (unsigned int ray = 0; ray < kPacketRays; ++ray) {
    again[ray] = valid[ray] != 0 && isBack(rays, ray) ? -1 : 0;
    if (again[ray] == 0) continue;
    any = true;
    rays.ray.tfar[ray] = ends[ray];
    rays.hit.geomID[ray] = RTC_INVALID_GEOMETRY_ID;
    rays.hit.instID[0][ray] = RTC_INVALID_GEOMETRY_ID;
  }
  if (!any) return;
  TraceContext context(*this, use);
  context.filter = filterByMaterial;
  rtcIntersect16(again, sceneFor(use), &context, &rays);
}

bool RayScene::isBack(const RTCRayHit16& rays, unsigned int ray) const {
  if (rays.hit.geomID[ray] == RTC_INVALID_GEOMETRY_ID) return false;
  const Instance& met = instances_[rays.hit.instID[0][ray]];
  if (!met.material->frontOnly) return false;
  const glm::vec3 normal(rays.hit.Ng_x[ray], rays.hit.Ng_y[ray], rays.hit.Ng_z[ray]);  // in object space
  const glm::vec3 direction(rays.ray.dir_x[ray], rays.ray.dir_y[ray], rays.ray.dir_z[ray]);
  return glm::dot(met.normalToWorld * normal, direction) > 0.0F;
}

void RayScene::occlude(const int* valid, RTCRay16& rays) const {
  // Never coherent: Embree 3.13.5 then decides from an unset variable on its stack when a packet is done with being
  // blocked, and may never return.
  TraceContext context(*this, RayUse::Shadow);
  if (hasFronts_) context.filter = filterByMaterial;
  rtcOccluded16(valid, solid(), &context, &rays);
}

float RayScene::solidRadius() const {
  RTCBounds bounds;
  rtcGetSceneBounds(solid(), &bounds);
  const glm::vec3 size(bounds.upper_x - bounds.lower_x, bounds.upper_y - bounds.lower_y,
                       bounds.upper_z - bounds.lower_z);
  return 0.5F * glm::length(glm::max(size, 0.0F));  // an empty one's bounds are the wrong way round
}

}  // namespace quillmere::render
