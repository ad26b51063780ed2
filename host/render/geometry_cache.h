#pragma once

#include <embree3/rtcore.h>

#include <map>
#include <memory>
#include <span>
#include <tuple>

#include "scene/scene.h"

namespace quillmere::render {

struct ReleaseHandle {
  void operator()(RTCDevice device) const { rtcReleaseDevice(device); }
  void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
  void operator()(RTCGeometry geometry) const { rtcReleaseGeometry(geometry); }
};

using DeviceHandle = std::unique_ptr<RTCDeviceTy, ReleaseHandle>;
using SceneHandle = std::unique_ptr<RTCSceneTy, ReleaseHandle>;
using GeometryHandle = std::unique_ptr<RTCGeometryTy, ReleaseHandle>;

// A device that uses all cores to build. Throws Error, which names the need where there is too little memory.
DeviceHandle makeDevice();
// Whether traces may ask a filter of their own about each hit in a scene, which slows all of them.
enum class TraceFilters { No, Yes };
// An empty scene.
SceneHandle newScene(RTCDevice device, TraceFilters filters);
// Before something is built: Embree may spin or abort where memory runs out. Throws Error.
void requireMemoryForBuild(std::size_t triangles, std::size_t instances);
// Throws Error with `doing` in the text when this thread's last calls on the device failed.
void throwOnError(RTCDevice device, const char* doing);

// A geometry to be traced.
struct Shape {
  std::shared_ptr<const scene::Geometry> geometry;
  bool filtered = false;                         // whether a filter is asked about each hit
  TraceFilters traceFilters = TraceFilters::No;  // of its hits

  friend bool operator<(const Shape& a, const Shape& b) {
    return std::tie(a.geometry, a.filtered, a.traceFilters) < std::tie(b.geometry, b.filtered, b.traceFilters);
  }
};

// Acceleration structures of geometry in object space, kept for as long as the same geometry is asked for again.
class GeometryCache {
 public:
  // `filter` decides about the hits of filtered shapes, on any thread. The device must outlive the cache.
  GeometryCache(RTCDevice device, RTCFilterFunctionN filter) : device_(device), filter_(filter) {}

  // Builds those of `shapes` that are not there yet on all cores, and forgets all that are not among them. The shared
  // vertex arrays are traced in place: std::vector's spare room holds the 4 bytes that Embree reads past the last
  // vertex, and only an array that is filled to its capacity is copied. Throws Error, with the cache as it was.
  void keep(std::span<const Shape> shapes);

  // The structure of a shape that was among the last `shapes`; it holds one geometry with the ID 0.
  RTCScene find(const Shape& shape) const { return built_.at(shape).get(); }

 private:
  SceneHandle build(const Shape& shape) const;

  RTCDevice device_;
  RTCFilterFunctionN filter_;
  std::map<Shape, SceneHandle> built_;
};

}  // namespace quillmere::render
