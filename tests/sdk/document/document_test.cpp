#include "api/document.h"

#include "core/text.h"
#include "open_scene.h"

namespace quillmere::test {
namespace {

TEST_F(OpenScene, KnowsWhereItsFileLies) {
  folder.write("My Scène.gltf", R"({"asset":{"version":"2.0"}})");
  host::Document saved(folder / "." / "My Scène.gltf");
  EXPECT_EQ(saved.api().GetDocumentName().GetString(), "My Scène.gltf");
  EXPECT_EQ(host::pathOf(saved.api().GetDocumentPath()), folder.path());
  EXPECT_EQ(saved.api().GetSceneCamera(), nullptr);
  EXPECT_FALSE(api.GetDocumentPath().IsPopulated());
  EXPECT_THROW(host::Document(folder / "missing.gltf"), Error);
}

TEST_F(OpenScene, CountsFramesAtItsRateAndRefusesNonsense) {
  for (const int fps : {1, 24, 30, 25, 60, 1000}) {
    document.setFps(fps);
    for (const int frame : {0, 1, 7, 29, 100003, -3}) {
      document.setFrame(frame);
      EXPECT_EQ(api.GetTime().GetFrame(api.GetFps()), frame) << fps;
    }
  }
  EXPECT_THROW(document.setFps(0), Error);
  EXPECT_THROW(document.setSize(16001, 9), Error);
  EXPECT_THROW(document.setSize(16, 0), Error);
}

TEST_F(OpenScene, LooksThroughItsOwnCamerasOnly) {
  host::Document other(std::make_shared<TwoSidedScene>());
  cinema::BaseDraw* view = api.GetRenderBaseDraw();
  EXPECT_EQ(api.GetSceneCamera(), front);
  view->SetSceneCamera(back, false);
  EXPECT_EQ(api.GetSceneCamera(), back);
  EXPECT_FALSE(api.SetSceneCamera(other.cameras()[0].object));
  view->SetSceneCamera(other.cameras()[0].object, false);
  EXPECT_EQ(view->GetSceneCamera(&api), back);
  EXPECT_EQ(view->GetSceneCamera(&other.api()), nullptr);
  EXPECT_TRUE(api.SetSceneCamera(nullptr));
  EXPECT_EQ(view->GetSceneCamera(&api), nullptr);
}

}  // namespace
}  // namespace quillmere::test
