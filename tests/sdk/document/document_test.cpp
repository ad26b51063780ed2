#include "api/document.h"

#include <array>
#include <tuple>

#include "api/frame.h"
#include "core/text.h"
#include "dbasedraw.h"
#include "drendersettings.h"
#include "open_scene.h"

namespace quillmere::test {
namespace {

using namespace cinema;

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

struct Drawing : OpenScene {
  cinema::BaseDraw* view = api.GetRenderBaseDraw();
  AutoAlloc<BaseBitmap> bitmap;

  void SetUp() override { ASSERT_EQ(bitmap->Init(16, 9, 32), cinema::IMAGERESULT::OK); }
  void display(Int32 mode) {
    const auto id = cinema::DescID::Create(cinema::DescLevel(BASEDRAW_DATA_SDISPLAYINACTIVE, 15, 0));
    view->SetParameter(id, cinema::GeData(mode), cinema::DESCFLAGS_SET::NONE);
  }
  bool drawView(Int32 options = 0) { return C4DOS_Br->GetViewPortBitmap(view, bitmap, options); }
  RENDERRESULT render(Int32 width, Int32 height, BaseBitmap* into, cinema::BaseThread* thread = nullptr) {
    cinema::BaseContainer settings;
    settings.SetInt32(RDATA_XRES, width);
    settings.SetInt32(RDATA_YRES, height);
    return cinema::RenderDocument(&api, settings, nullptr, nullptr, into, cinema::RENDERFLAGS::EXTERNAL, thread);
  }
  char color() const {  // of the middle: a wall's, or none in particular
    std::array<cinema::UInt16, 3> c{};
    bitmap->GetPixel(8, 4, &c[0], &c[1], &c[2]);
    return c[0] > 2 * c[1] ? 'r' : c[1] > 2 * c[0] ? 'g' : '-';
  }
};

TEST_F(Drawing, ShowsTheDocumentThroughItsCameraAtItsTime) {
  display(BASEDRAW_SDISPLAY_QUICK);
  for (const auto& [camera, frame, wall] :
       {std::tuple{front, 0, 'r'}, {back, 0, 'g'}, {back, 30, 'g'}, {front, 30, '-'}}) {
    SCOPED_TRACE(frame);
    api.SetSceneCamera(camera);
    document.setFrame(frame);
    EXPECT_TRUE(drawView());
    EXPECT_EQ(color(), wall);
    ASSERT_EQ(bitmap->Init(16, 9, 32), cinema::IMAGERESULT::OK);
    EXPECT_EQ(render(16, 9, bitmap), RENDERRESULT::OK);
    EXPECT_EQ(color(), wall);
  }
}

TEST_F(Drawing, OfTheViewRefusesWhatIsNotModelledAndSaysSo) {
  EXPECT_FALSE(drawView());  // the display mode of a new view
  ASSERT_EQ(events.told.size(), 1U);
  EXPECT_NE(events.told[0].find("display mode 0"), std::string::npos);
  display(BASEDRAW_SDISPLAY_QUICK);
  EXPECT_FALSE(drawView(1));
  api.SetSceneCamera(nullptr);
  EXPECT_FALSE(drawView());
  EXPECT_NE(events.told.back().find("no camera"), std::string::npos);
  api.SetSceneCamera(front);
  AutoAlloc<BaseBitmap> empty;
  EXPECT_FALSE(C4DOS_Br->GetViewPortBitmap(view, empty, 0));
  EXPECT_FALSE(C4DOS_Br->GetViewPortBitmap(nullptr, bitmap, 0));
  EXPECT_TRUE(drawView());
}

TEST_F(Drawing, OfADocumentNeedsABitmapOfTheSettingsSize) {
  EXPECT_EQ(render(16, 10, bitmap), RENDERRESULT::FAILED);
  EXPECT_EQ(render(0, 0, bitmap), RENDERRESULT::FAILED);
  EXPECT_EQ(render(16, 9, nullptr), RENDERRESULT::FAILED);
  api.SetSceneCamera(nullptr);
  EXPECT_EQ(render(16, 9, bitmap), RENDERRESULT::FAILED);
  EXPECT_EQ(scene->poses, 0);
}

TEST_F(Drawing, OfADocumentStopsWithItsThreadOrTheFrameAroundIt) {
  host::RenderCall elsewhere(nullptr, std::nullopt, [] { return true; });
  EXPECT_EQ(render(16, 9, bitmap, elsewhere.at(cinema::VIDEOPOSTCALL::RENDER, true).thread), RENDERRESULT::USERBREAK);
  {
    host::RenderCall around(&document, std::nullopt, [] { return true; });
    EXPECT_EQ(render(16, 9, bitmap), RENDERRESULT::USERBREAK);
  }
  EXPECT_EQ(render(16, 9, bitmap), RENDERRESULT::OK);
}

}  // namespace
}  // namespace quillmere::test
