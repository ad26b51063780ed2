#pragma once

#include <atomic>
#include <memory>

#include "scene/scene.h"

namespace quillmere::test {

// A red wall in front of the camera "Front", which looks along -Z, and a green one in front of "Back", which looks the
// other way. Both are unlit, so quick pictures show pure colours. The front wall is gone from second 1 on.
class TwoSidedScene : public scene::Scene {
 public:
  TwoSidedScene();
  const std::vector<scene::CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<scene::Material>& materials() const override { return materials_; }
  const std::vector<std::string>& warnings() const override { return warnings_; }
  double duration() const override { return 1.0; }
  scene::Moment at(double seconds) const override;

  int poses() const { return poses_; }  // how often somebody wanted to draw it

 private:
  std::vector<scene::CameraInfo> cameras_{{"Front", false, false}, {"Back", false, false}};
  std::vector<scene::Material> materials_;
  std::vector<std::string> warnings_;
  std::shared_ptr<scene::Geometry> wall_ = std::make_shared<scene::Geometry>();
  mutable std::atomic<int> poses_ = 0;
};

}  // namespace quillmere::test
