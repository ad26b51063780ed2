#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <glm/gtc/constants.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <memory>
#include <string>
#include <vector>

#include "api/document.h"
#include "render/hand_made_scene.h"
#include "temporary_folder.h"

namespace quillmere::test {

// A red wall in front of the camera "Front", which looks along -Z, and a green one in front of "Back", which looks the
// other way. Both are unlit, so quick pictures show pure colours. The front wall is gone from second 1 on.
struct TwoSidedScene : render::HandMadeScene {
  TwoSidedScene() {
    const glm::mat4 turned = glm::rotate(glm::mat4(1.0F), glm::pi<float>(), {0, 1, 0});
    const glm::mat4 ahead = render::moved(0, 0, -5);
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

struct RecordingEvents : host::Events {
  void statusText(const std::string& text) override { told.push_back("text " + text); }
  void statusSpin(bool on) override { told.push_back(on ? "spin on" : "spin off"); }
  void statusBar(double fraction) override { told.push_back("bar " + std::to_string(fraction)); }
  void console(const std::string& line) override { told.push_back("console " + line); }

  std::vector<std::string> told;
};

// An application with the two-sided scene open, as a document that was never saved.
struct OpenScene : testing::Test {
  TemporaryFolder folder;
  RecordingEvents events;
  host::Application application{folder.path(), events};
  std::shared_ptr<TwoSidedScene> scene = std::make_shared<TwoSidedScene>();
  host::Document document{scene};
  cinema::BaseDocument& api = document.api();
  cinema::BaseObject* front = document.cameras()[0].object;
  cinema::BaseObject* back = document.cameras()[1].object;
};

}  // namespace quillmere::test
