#include "geometry_cache.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/memory.h"
#include "base/parallel.h"

namespace quillmere::render {
namespace {

constexpr std::size_t kVertexBytes = sizeof(glm::vec3);
constexpr std::size_t kReadBytes = 16;  // Embree loads a vertex as four floats

void setVertices(RTCGeometry mesh, const std::vector<glm::vec3>& positions) {
  static_assert(sizeof(glm::vec3) == 3 * sizeof(float));
  const std::size_t needed = (positions.size() - 1) * kVertexBytes + kReadBytes;
  if (positions.capacity() * kVertexBytes >= needed) {
    rtcSetSharedGeometryBuffer(mesh, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, positions.data(), 0, kVertexBytes,
                               positions.size());
    return;
  }
  // Embree pads the buffers that it allocates.
  void* copy =
      rtcSetNewGeometryBuffer(mesh, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, kVertexBytes, positions.size());
  if (copy != nullptr) std::memcpy(copy, positions.data(), positions.size() * kVertexBytes);
}

void setIndices(RTCGeometry mesh, const std::vector<std::uint32_t>& indices) {
  rtcSetSharedGeometryBuffer(mesh, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, indices.data(), 0,
                             3 * sizeof(std::uint32_t), indices.size() / 3);
}

}  // namespace

// Measured with Embree 3.13 and oneTBB 2021, rounded up: what a device takes by itself, what each thread takes for its
// stack and its share of the heap, what building a structure takes at its peak.
constexpr std::uintmax_t kMiB = 1U << 20U;
constexpr std::uintmax_t kOfDevice = 152 * kMiB, kOfThread = 8 * kMiB, kOfTriangle = 144, kOfInstance = 2048;

DeviceHandle makeDevice() {
  const auto threads = static_cast<std::uintmax_t>(allCores());
  requireMemory(kOfDevice + threads * kOfThread, "cannot start ray tracing: ");
  DeviceHandle device(rtcNewDevice(("threads=" + std::to_string(threads)).c_str()));
  if (device) return device;
  const RTCError error = rtcGetDeviceError(nullptr);
  throw Error("cannot start ray tracing: Embree gives no device (its error " + std::to_string(static_cast<int>(error)) +
              "); it needs a processor with SSE2 or NEON, and memory");
}

void requireMemoryForBuild(std::size_t triangles, std::size_t instances) {
  requireMemory(4 * kMiB + triangles * kOfTriangle + instances * kOfInstance,
                "cannot prepare the scene for ray tracing: ");
}

SceneHandle newScene(RTCDevice device, TraceFilters filters) {
  SceneHandle scene(rtcNewScene(device));
  if (filters == TraceFilters::Yes) rtcSetSceneFlags(scene.get(), RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION);
  return scene;
}

void throwOnError(RTCDevice device, const char* doing) {
  const RTCError error = rtcGetDeviceError(device);
  if (error == RTC_ERROR_NONE) return;
  const bool memory = error == RTC_ERROR_OUT_OF_MEMORY || error == RTC_ERROR_UNKNOWN;  // it also folds bad_alloc so
  const std::string reason = memory ? "not enough memory; use a smaller scene or free some"
                                    : "Embree reports error " + std::to_string(static_cast<int>(error));
  throw Error(std::string("cannot ") + doing + ": " + reason);
}

SceneHandle GeometryCache::build(const Shape& shape) const {
  const GeometryHandle mesh(rtcNewGeometry(device_, RTC_GEOMETRY_TYPE_TRIANGLE));
  if (shape.geometry->indices.size() >= 3 && !shape.geometry->positions.empty()) {
    setVertices(mesh.get(), shape.geometry->positions);
    setIndices(mesh.get(), shape.geometry->indices);
  }
  if (shape.filtered) {
    rtcSetGeometryIntersectFilterFunction(mesh.get(), filter_);
    rtcSetGeometryOccludedFilterFunction(mesh.get(), filter_);
  }
  rtcCommitGeometry(mesh.get());
  SceneHandle built = newScene(device_, shape.traceFilters);
  rtcAttachGeometryByID(built.get(), mesh.get(), 0);
  rtcCommitScene(built.get());
  throwOnError(device_, "prepare a mesh for ray tracing");
  return built;
}

void GeometryCache::keep(std::span<const Shape> shapes) {
  std::map<Shape, SceneHandle> wanted;
  for (const Shape& shape : shapes) wanted.try_emplace(shape);
  std::vector<std::pair<const Shape, SceneHandle>*> missing;
  for (auto& entry : wanted) {
    if (!built_.contains(entry.first)) missing.push_back(&entry);
  }
  std::size_t triangles = 0;
  for (const auto* entry : missing) triangles += entry->first.geometry->indices.size() / 3;
  requireMemoryForBuild(triangles, missing.size());
  forEach(static_cast<int>(missing.size()), allCores(), {}, [&](int i) {
    auto& [shape, built] = *missing[static_cast<std::size_t>(i)];
    built = build(shape);
  });
  for (auto& [shape, built] : wanted) {
    if (!built) built = std::move(built_.at(shape));
  }
  built_ = std::move(wanted);
}

}  // namespace quillmere::render
