#pragma once

#include "scene/scene.h"

namespace quillmere {

// Nothing to see, through the cameras "Front" and "Side".
class StillScene : public scene::Scene {
 public:
  const std::vector<scene::CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<scene::Material>& materials() const override { return materials_; }
  const std::vector<std::string>& warnings() const override { return warnings_; }
  double duration() const override { return 0; }
  scene::Snapshot at(double) const override { return {{}, {}, {2, scene::Camera{}}}; }

 private:
  std::vector<scene::CameraInfo> cameras_{{"Front"}, {"Side"}};
  std::vector<scene::Material> materials_{1};
  std::vector<std::string> warnings_;
};

}  // namespace quillmere
