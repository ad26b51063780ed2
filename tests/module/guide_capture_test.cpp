#include "guide_capture.h"

#include <gmock/gmock.h>

#include <optional>
#include <thread>

#include "core/atom.h"
#include "core/substitutes.h"
#include "host_case.h"
#include "image/file_formats.h"
#include "lib_description.h"
#include "operatingsystem.h"
#include "still_scene.h"

namespace quillmere {
namespace {

using namespace cinema;
using host::operations;

template <class Slot, class Replacement>
std::shared_ptr<void> put(Slot& slot, Replacement replacement) {
  return std::make_shared<host::Substitute<Slot>>(slot, std::move(replacement));
}

DescID modeId(Int32 id) {
  return DescID::Create(DescLevel(id, DTYPE_LONG, 0));
}

// What a capture borrows, in one line.
std::string stateOf(BaseDocument& document) {
  BaseDraw& view = *document.GetActiveBaseDraw();
  GeData active, inactive;
  view.GetParameter(modeId(1003), active, DESCFLAGS_GET::NONE);
  view.GetParameter(modeId(1004), inactive, DESCFLAGS_GET::NONE);
  const String camera = view.GetSceneCamera(&document) ? view.GetSceneCamera(&document)->GetName() : "none";
  return ToUtf8(camera + " " + String::IntToString(active.GetInt32()) + " " + String::IntToString(inactive.GetInt32()));
}

struct GuideCapture : EffectCase {
  GuideCapture() {
    view->SetParameter(modeId(1003), GeData(Int32(0)), DESCFLAGS_SET::NONE);
    view->SetParameter(modeId(1004), GeData(Int32(6)), DESCFLAGS_SET::NONE);
  }
  bool capture(Int32 mode, int width = 7) {
    return RenderReferenceImage(&api(), camera(1), GuideModeOf(mode), width, 5, host::filenameOf(png));
  }
  BaseDraw* const view = api().GetActiveBaseDraw();
  const std::filesystem::path png = folder / "guide.png";
};

TEST_F(GuideCapture, IsAPngOfTheSizeAskedForInEveryMode) {
  for (const Int32 mode : {0, 1, 7}) {
    SCOPED_TRACE(mode);
    ASSERT_TRUE(capture(mode));
    const image::Image guide = image::read(png);
    EXPECT_EQ(std::pair(guide.width(), guide.height()), std::pair(7, 5));
    EXPECT_EQ(stateOf(api()), "Front 0 6");
    remove(png);
  }
}

TEST_F(GuideCapture, DrawsTheRenderViewElseTheActiveOneThroughTheCameraWithQuickShadingUnlessAFinalRenderIsAsked) {
  static std::string seen;
  static BaseDraw* drawn;
  const auto draw = put(C4DOS_Br->GetViewPortBitmap, [](BaseDraw* view, BaseBitmap*, Int32 options) -> Bool {
    seen = stateOf(*view->GetDocument()) + " " + std::to_string(options);
    drawn = view;
    return true;
  });
  EXPECT_TRUE(capture(7));
  EXPECT_EQ(seen, "Side 2 2 0");
  host::Document other(std::make_shared<StillScene>());
  BaseDraw* const apart = other.api().GetActiveBaseDraw();
  for (BaseDraw* const renderView : {apart, static_cast<BaseDraw*>(nullptr)}) {
    const auto given = put(operations().renderView, [&](auto&) { return renderView; });
    EXPECT_TRUE(capture(0));
    EXPECT_EQ(drawn, renderView ? renderView : view);
  }
}

TEST_F(GuideCapture, RendersThroughTheCameraWithACopyOfTheSettings) {
  BaseContainer& active = api().GetActiveRenderData()->GetDataInstanceRef();
  for (const Int32 id : {5076, 5200, 5202}) active.SetBool(id, true);
  const BaseContainer before = active;
  std::string seen;
  const auto render = put(operations().renderDocument, [&](auto& of, auto& used, auto, RENDERFLAGS flags, auto) {
    seen = stateOf(of) + " " + std::to_string(int(flags));
    for (const Int32 id : {5008, 5009, 5076, 5200, 5202}) seen += " " + std::to_string(used.GetInt32(id));
    return RENDERRESULT::OK;
  });
  const OperationsLog log(told);
  EXPECT_TRUE(capture(1));
  EXPECT_EQ(told.lines, (Lines{"bitmap", "init 7 5 32", "render", "save guide.png 1023671"}));
  EXPECT_EQ(seen, "Side 0 6 1 7 5 0 0 0");
  EXPECT_TRUE(active == before);
}

TEST_F(GuideCapture, PutsEverythingBackWhicheverStepFails) {
  const auto fails = [&](const char* step, std::initializer_list<Int32> modes, auto& slot, auto replacement) {
    for (const Int32 mode : modes) {
      SCOPED_TRACE(step + std::to_string(mode));
      auto fault = put(slot, replacement);
      EXPECT_FALSE(capture(mode));
      fault.reset();
      EXPECT_EQ(stateOf(api()), "Front 0 6");
      EXPECT_FALSE(exists(png));
    }
  };
  fails("bitmap ", {0, 1}, operations().makeBitmap, [] { return nullptr; });
  fails("pixels ", {0, 1}, operations().initBitmap, [](auto&&...) { return IMAGERESULT::OUTOFMEMORY; });
  fails("file ", {0, 1}, operations().saveBitmap, [](auto&&...) { return IMAGERESULT::FILEERROR; });
  fails("operation ", {0}, C4DOS_Br->GetViewPortBitmap, nullptr);
  fails("drawing ", {0}, C4DOS_Br->GetViewPortBitmap, [](auto, auto, Int32) -> Bool { return false; });
  fails("camera ", {1}, operations().lookThrough, [](auto&&...) { return false; });
  fails("render ", {1}, operations().renderDocument, [](auto&&...) { return RENDERRESULT::FAILED; });
  for (const Int32 mode : {0, 1}) {
    EXPECT_FALSE(capture(mode, 0)) << "no picture is 0 pixels wide";
    EXPECT_FALSE(RenderReferenceImage(&api(), nullptr, GuideModeOf(mode), 7, 5, host::filenameOf(png)));
  }
  EXPECT_EQ(stateOf(api()), "Front 0 6");
}

TEST_F(GuideCapture, LooksThroughTheLinkedCameraElseThroughTheScenesOrTheViews) {
  settings().SetLink(QUILLMERE_CAMERA, camera(1));
  EXPECT_EQ(ResolveConfiguredCamera(&settings(), &api()), camera(1));
  settings().SetLink(QUILLMERE_CAMERA, view);
  EXPECT_EQ(ResolveConfiguredCamera(&settings(), &api()), camera(0)) << "a link to something else is passed over";

  BaseObject *const front = camera(0), *const side = camera(1), *const none = nullptr;
  const struct {
    BaseObject *scene, *renderView, *activeView, *expected;
  } rows[] = {
      {front, side, none, front}, {none, side, front, side}, {none, none, front, front}, {none, none, none, none}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    // One view in the place of two; the scene's camera is what the host first asks the active one for.
    const auto showing = [&](BaseObject* shown) { return view->SetSceneCamera(shown), view; };
    int asked = 0;
    const auto renderView = put(operations().renderView, [&](auto&) { return showing(row.renderView); });
    const auto activeView =
        put(operations().activeView, [&](auto&) { return showing(asked++ == 0 ? row.scene : row.activeView); });
    EXPECT_EQ(ResolveConfiguredCamera(&settings(), &api()), row.expected);
  }
  const auto noView = [](auto&) { return nullptr; };
  const auto noRenderView = put(operations().renderView, noView), noActiveView = put(operations().activeView, noView);
  EXPECT_EQ(ResolveConfiguredCamera(&settings(), &api()), nullptr);
  EXPECT_FALSE(capture(0));
}

// A host that renders the document for a guide, and with it the effect that has asked for the guide.
struct GuideInProgress : EffectCase {
  GuideInProgress() {
    const auto picture = (folder / "picture.png").string();
    image::writePng(picture, image::Image(5, 4, 4, image::Sample::Byte), image::PngDepth::As8Bit);
    write(script, "echo run >> '" + (folder / "runs").string() + R"('; printf '{"ok": true, "first_output": ")" +
                      picture + "\"}' > \"$2\"\n");
    settings().SetInt32(QUILLMERE_GUIDE_MODE, 1);
  }
  RENDERRESULT execute(BaseVideoPost& effect, bool open) {
    host::RenderCall call(document.get(), std::nullopt, noBreak);
    NodeData& data = *HostSide<C4DAtom>::parts(effect).data;
    return static_cast<VideoPostData&>(data).Execute(&effect, &call.at(VIDEOPOSTCALL::RENDER, open));
  }
  std::string runs() const { return contentOf(folder / "runs"); }
};

TEST_F(GuideInProgress, CallsFromTheRenderOfAGuideDoNothingButSaySo) {
  ASSERT_EQ(execute(*node, true), RENDERRESULT::OK);
  ASSERT_EQ(runs(), "run\n");
  BaseVideoPost& other = document->addVideoPost(1060500);
  int depth = 0;
  {
    const host::Substitute renders(host::operations().renderDocument, [&](auto&&...) {
      if (depth++ > 0) return RENDERRESULT::FAILED;
      told.lines.clear();
      const BaseContainer before = settings();
      for (const bool open : {true, false}) EXPECT_EQ(execute(*node, open), RENDERRESULT::OK);
      EXPECT_EQ(told.lines,
                Lines{"console [Quillmere Renderer] Passed over a render call from the render of the guide"});
      EXPECT_TRUE(settings() == before);
      std::thread([&] { execute(other, true); }).join();
      return RENDERRESULT::FAILED;
    });
    EXPECT_EQ(execute(*node, true), RENDERRESULT::FAILED);
  }
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(runs(), "run\n");
  EXPECT_EQ(ToUtf8(other.GetDataInstance()->GetString(QUILLMERE_STATUS)), "No workflow selected") << "a thread apart";

  told.lines.clear();
  EXPECT_EQ(execute(*node, false), RENDERRESULT::OK);
  EXPECT_EQ(told.lines, Lines{"viewer 5"}) << "the first call's picture, kept";
  EXPECT_EQ(execute(*node, true), RENDERRESULT::OK);
  EXPECT_EQ(runs(), "run\nrun\n") << "also after a guide that failed";
}

}  // namespace
}  // namespace quillmere
