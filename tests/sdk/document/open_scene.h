#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "api/document.h"
#include "temporary_folder.h"
#include "two_sided_scene.h"

namespace quillmere::test {

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
