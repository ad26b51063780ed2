#pragma once

#include <glm/glm.hpp>
#include <memory>
#include <string>
#include <vector>

#include "scene/scene.h"

namespace quillmere::render {

// A scene put together by a test. What the test changes in `now` is there at the next pose.
struct HandMadeScene : scene::Scene {
  const std::vector<scene::CameraInfo>& cameras() const override { return views; }
  const std::vector<scene::Material>& materials() const override { return kinds; }
  std::vector<std::string> objects() const override { return things; }
  const std::vector<std::string>& warnings() const override { return noWarnings; }
  double duration() const override { return 0.0; }
  scene::Snapshot at(double /*seconds*/) const override { return now; }

  // Returns the index of the new material.
  int addMaterial(const scene::Material& material);
  void add(std::shared_ptr<const scene::Geometry> geometry, int material, const glm::mat4& toWorld = glm::mat4(1.0F));

  std::vector<scene::CameraInfo> views;
  std::vector<std::string> things{"default"};
  std::vector<std::string> noWarnings;
  std::vector<scene::Material> kinds{scene::Material{}};
  scene::Snapshot now;
};

scene::Material colored(glm::vec3 color);
scene::Material unlit(glm::vec3 color);
scene::Material glass(glm::vec3 color, float alpha);  // which blends
glm::mat4 moved(float x, float y, float z);

// A rectangle in the plane z = 0 that faces +Z, its texture coordinates 0-1 from its top left corner.
std::shared_ptr<scene::Geometry> rectangle(float left, float bottom, float right, float top);
// One that is larger than all that is seen.
std::shared_ptr<scene::Geometry> wall();
// A ball of radius 1 at the origin, smooth.
std::shared_ptr<scene::Geometry> ball();
// The square from -side/2 to +side/2 in the plane y = 0 that faces +Y.
std::shared_ptr<scene::Geometry> ground(float side);
// A cube around the origin; its faces look outwards.
std::shared_ptr<scene::Geometry> cube(float side);

// Of one thing.
std::shared_ptr<HandMadeScene> sceneOf(const std::shared_ptr<scene::Geometry>& geometry,
                                       const glm::mat4& toWorld = glm::mat4(1.0F),
                                       const scene::Material& material = scene::Material{});

// At `from`, looking at `to`.
scene::Camera perspective(glm::vec3 from, glm::vec3 to, float yfov);
scene::Camera orthographic(glm::vec3 from, glm::vec3 to, float ymag);

}  // namespace quillmere::render
