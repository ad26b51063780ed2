#include "scene/view_camera.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "scene/unique_names.h"

namespace quillmere::scene {
namespace {

constexpr float kMargin = 1.12F;  // how much more than the bounds a picture shows
constexpr int kTurntableStops = 24;
constexpr int kSteps = 4;          // until a box is in the middle of its picture, nearly
constexpr float kUpright = 0.25F;  // beyond, a camera looks down so much that the height of its target is its distance
constexpr float kNearest = 1e-3F;  // the near limit as a part of the distance

struct Axes {
  glm::vec3 right, up, back;
};

Axes axesOf(double azimuth, double elevation) {
  const double a = glm::radians(azimuth), e = glm::radians(std::clamp(elevation, -90.0, 90.0));
  return {glm::vec3(glm::dvec3(std::cos(a), 0.0, -std::sin(a))),
          glm::vec3(glm::dvec3(-std::sin(e) * std::sin(a), std::cos(e), -std::sin(e) * std::cos(a))),
          glm::vec3(glm::dvec3(std::cos(e) * std::sin(a), std::sin(e), std::cos(e) * std::cos(a)))};
}

// A box from all directions that a camera at an elevation sees it from; relative to its target.
class FramedBox {
 public:
  FramedBox(const Bounds& box, const View& view, float aspect, Turntable turntable) : box_(box), aspect_(aspect) {
    const int stops = turntable.seconds > 0.0 ? kTurntableStops : 1;
    for (int stop = 0; stop < stops; ++stop) {
      directions_.push_back(
          axesOf(static_cast<double>(view.azimuth) + 360.0 * stop / stops, static_cast<double>(view.elevation)));
    }
  }

  // From how far all of it is seen.
  float neededDistance(glm::vec3 target) const {
    const float tall = std::tan(kViewAngle / 2.0F) / kMargin;
    float distance = 0.0F;
    forEachCorner(target, [&](glm::vec3 corner) {
      const float beside = std::max(std::abs(corner.x) / (tall * aspect_), std::abs(corner.y) / tall);
      distance = std::max(distance, corner.z + beside);
    });
    return distance;
  }

  // How far its middle stands above that of the picture, in the plane of the target.
  float heightOfMiddle(glm::vec3 target, float distance) const {
    float top = std::numeric_limits<float>::lowest(), bottom = std::numeric_limits<float>::max();
    forEachCorner(target, [&](glm::vec3 corner) {
      const float height = corner.y / (distance - corner.z);
      top = std::max(top, height);
      bottom = std::min(bottom, height);
    });
    return (top + bottom) / 2.0F * distance;
  }

 private:
  template <class Take>
  void forEachCorner(glm::vec3 target, const Take& take) const {
    for (const Axes& axes : directions_) {
      for (unsigned corner = 0; corner < 8; ++corner) {
        const glm::vec3 at =
            glm::vec3((corner & 1U) != 0 ? box_.most.x : box_.least.x, (corner & 2U) != 0 ? box_.most.y : box_.least.y,
                      (corner & 4U) != 0 ? box_.most.z : box_.least.z) -
            target;
        take(glm::vec3(glm::dot(axes.right, at), glm::dot(axes.up, at), glm::dot(axes.back, at)));
      }
    }
  }

  Bounds box_;
  float aspect_;
  std::vector<Axes> directions_;
};

// A number of few digits, so that people can write it: `unit` is one of the last digit.
float rounded(float number, double unit) {
  return static_cast<float>(std::round(static_cast<double>(number) / unit) * unit);
}

class ViewedScene : public Scene {
 public:
  ViewedScene(std::shared_ptr<const Scene> scene, const View& view, Turntable turntable)
      : scene_(std::move(scene)), view_(view), turntable_(turntable), cameras_(scene_->cameras()) {
    UniqueNames names;
    for (const CameraInfo& camera : cameras_) names.make(camera.name);
    cameras_.push_back({names.make("Default"), false, turntable_.seconds > 0.0, true});
  }

  const std::vector<CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<Material>& materials() const override { return scene_->materials(); }
  std::vector<std::string> objects() const override { return scene_->objects(); }
  const std::vector<std::string>& warnings() const override { return scene_->warnings(); }
  double duration() const override { return scene_->duration(); }
  std::vector<Clip> clips() const override { return scene_->clips(); }
  Contents contents() const override { return scene_->contents(); }

  Snapshot at(double seconds) const override {
    Snapshot snapshot = scene_->at(seconds);
    const double turn = turntable_.seconds > 0.0 ? std::fmod(seconds / turntable_.seconds, 1.0) : 0.0;
    const Axes axes = axesOf(static_cast<double>(view_.azimuth) + 360.0 * turn, static_cast<double>(view_.elevation));
    Camera camera;
    camera.toWorld = glm::mat4(glm::vec4(axes.right, 0), glm::vec4(axes.up, 0), glm::vec4(axes.back, 0),
                               glm::vec4(*view_.target + axes.back * *view_.distance, 1));
    camera.yfov = kViewAngle;
    camera.znear = *view_.distance * kNearest;
    snapshot.cameras.push_back(camera);
    return snapshot;
  }

 private:
  const std::shared_ptr<const Scene> scene_;
  const View view_;
  const Turntable turntable_;
  std::vector<CameraInfo> cameras_;
};

}  // namespace

View framed(View view, const Bounds& bounds, double aspect, Turntable turntable) {
  const Bounds box = bounds.empty() ? Bounds{glm::vec3(-0.5F), glm::vec3(0.5F)} : bounds;
  const FramedBox framedBox(box, view, static_cast<float>(aspect), turntable);
  const bool free = !view.target && !view.distance;
  if (!view.target) view.target = box.least / 2.0F + box.most / 2.0F;
  if (view.distance) return view;
  // A single point is seen from a metre; nearer than a float's digits would leave the camera in the target.
  const float least = std::max(1e-5F * glm::length(*view.target), 1e-9F);
  const auto distance = [&] {
    const float needed = framedBox.neededDistance(*view.target);
    return std::clamp(needed > 0.0F ? needed : 1.0F, least, kLargestNumber);
  };
  // What is near looks larger, so that the box's middle isn't that of its picture. Only the height is changed, since
  // a turntable needs its axis.
  const float upright = std::cos(glm::radians(view.elevation));
  for (int step = 0; free && upright > kUpright && step < kSteps; ++step) {
    view.target->y += framedBox.heightOfMiddle(*view.target, distance()) / upright;
  }
  const double unit = std::pow(10.0, std::floor(std::log10(static_cast<double>(distance()))) - 4.0);
  *view.target = {rounded(view.target->x, unit), rounded(view.target->y, unit), rounded(view.target->z, unit)};
  view.distance = rounded(distance(), unit);
  return view;
}

std::shared_ptr<const Scene> withViewCamera(std::shared_ptr<const Scene> scene, const View& view, Turntable turntable) {
  return std::make_shared<const ViewedScene>(std::move(scene), view, turntable);
}

}  // namespace quillmere::scene
