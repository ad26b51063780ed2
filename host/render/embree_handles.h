#pragma once

#include <embree3/rtcore.h>

#include <memory>

namespace quillmere::render {

struct ReleaseHandle {
  void operator()(RTCDevice device) const { rtcReleaseDevice(device); }
  void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
  void operator()(RTCGeometry geometry) const { rtcReleaseGeometry(geometry); }
};

using DeviceHandle = std::unique_ptr<RTCDeviceTy, ReleaseHandle>;
using SceneHandle = std::unique_ptr<RTCSceneTy, ReleaseHandle>;
using GeometryHandle = std::unique_ptr<RTCGeometryTy, ReleaseHandle>;

// A device that uses all cores to build. Throws Error.
DeviceHandle makeDevice();
// Throws Error with `doing` in the text when this thread's last calls on the device failed.
void throwOnError(RTCDevice device, const char* doing);

}  // namespace quillmere::render
