#pragma once

#include <atomic>
#include <glm/gtc/constants.hpp>
#include <glm/gtc/matrix_transform.hpp>

#include "render/hand_made_scene.h"

namespace quillmere::test {

// A red wall in front of the camera "Front", which looks along -Z, and a green one in front of "Back", which looks the
// other way. Both are unlit, so quick pictures show pure colours. The front wall is gone from second 1 on.
struct TwoSidedScene : render::HandMadeScene {
  TwoSidedScene() {
    const glm::mat4 turned = glm::rotate(glm::mat4(1.0F), glm::pi<float>(), {0, 1, 0});
    const glm::mat4 ahead = glm::translate(glm::mat4(1.0F), glm::vec3(0, 0, -5));
    const auto wall = render::rectangle(-50, -50, 50, 50);
    add(wall, addMaterial(render::unlit({0, 1, 0})), turned * ahead);
    add(wall, addMaterial(render::unlit({1, 0, 0})), ahead);
    views = {{"Front", false, false}, {"Back", false, false}};
    now.cameras.resize(2);
    now.cameras[1].toWorld = turned;
  }
  scene::Snapshot at(double seconds) const override {
    ++poses;
    scene::Snapshot snapshot = now;
    if (seconds >= 1.0) snapshot.surfaces.pop_back();
    return snapshot;
  }

  mutable std::atomic<int> poses = 0;  // how often somebody wanted to draw it
};

}  // namespace quillmere::test
