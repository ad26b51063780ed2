#include "api/document.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <optional>
#include <tuple>
#include <vector>

#include "api/frame.h"
#include "c4d.h"
#include "core/text.h"
#include "dbasedraw.h"
#include "drendersettings.h"
#include "image/file_formats.h"
#include "open_scene.h"
#include "temporary_folder.h"

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

using Rgb = std::array<int, 3>;

Rgb pixel(const BaseBitmap* bitmap, int x, int y) {
  UInt16 r = 7, g = 7, b = 7;
  bitmap->GetPixel(x, y, &r, &g, &b);
  return {r, g, b};
}

cinema::Filename named(const TemporaryFolder& folder, const char* name) {
  return host::filenameOf(folder / name);
}

TEST(Bitmap, IsMadeInTheSizesAndDepthsThatAreModelled) {
  struct Row {
    int width, height, depth;
    std::optional<Rgb> read;  // after writing 255, 51, 300; nothing where there is no such bitmap
  };
  const Row rows[] = {{3, 2, 24, Rgb{255, 51, 255}},
                      {3, 2, 32, Rgb{255, 51, 255}},
                      {3, 2, 64, Rgb{65535, 13107, 65535}},
                      {3, 2, 96, Rgb{65535, 13107, 65535}},
                      {3, 2, 8, Rgb{187, 187, 187}},
                      {16000, 2, 24, Rgb{255, 51, 255}},
                      {3, 2, 16, {}},
                      {3, 2, INT_MAX, {}},
                      {0, 2, 24, {}},
                      {3, -1, 24, {}},
                      {16001, 2, 24, {}}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << " x " << row.depth);
    const bool made = row.read.has_value();
    AutoAlloc<BaseBitmap> bitmap;
    ASSERT_EQ(bitmap->Init(1, 1), IMAGERESULT::OK);
    EXPECT_EQ(bitmap->Init(row.width, row.height, row.depth), made ? IMAGERESULT::OK : IMAGERESULT::PARAM_ERROR);
    EXPECT_EQ(bitmap->SetPixel(2, 1, 255, 51, 300), made);
    EXPECT_EQ(pixel(bitmap, 2, 1), row.read.value_or(Rgb{}));
    for (const auto& [x, y] : {std::pair{-1, 0}, {0, -1}, {row.width, 0}, {0, row.height}, {INT_MIN, 1}}) {
      EXPECT_EQ(pixel(bitmap, x, y), (Rgb{0, 0, 0})) << x << ", " << y;
      EXPECT_FALSE(bitmap->SetPixel(x, y, 1, 1, 1)) << x << ", " << y;
    }
  }
}

TEST(Bitmap, LoadedDepthFollowsTheSamplesAndIgnoresAlpha) {
  const std::filesystem::path folder = QUILLMERE_TEST_PICTURES;
  AutoAlloc<BaseBitmap> bitmap;
  for (const auto& [name, depth, read] : {std::tuple{"png-palette.png", 24, Rgb{4, 5, 6}},
                                          {"png-grey-alpha.png", 24, Rgb{7, 7, 7}},
                                          {"png-16-bit.png", 48, Rgb{0x0102, 0x0304, 0x0506}},
                                          {"exr-half.exr", 96, Rgb{0, 65535, 65535}}}) {
    SCOPED_TRACE(name);
    cinema::Bool movie = true;
    ASSERT_EQ(bitmap->Init(host::filenameOf(folder / name), -1, &movie), IMAGERESULT::OK);
    EXPECT_FALSE(movie);
    EXPECT_EQ(bitmap->GetBt(), depth);
    EXPECT_EQ(pixel(bitmap, 0, 0), read);
  }
}

TEST(Bitmap, WhatCannotBeLoadedSaysWhyAndLeavesItEmpty) {
  const TemporaryFolder folder;
  folder.write("garbage.png", "\x89PNG\r\n\x1a\n and then nothing of the kind");
  AutoAlloc<BaseBitmap> bitmap;
  for (const auto& [name, result] : {std::pair{"garbage.png", IMAGERESULT::FILESTRUCTURE},
                                     {"missing.png", IMAGERESULT::NOTEXISTING},
                                     {".", IMAGERESULT::NOTEXISTING}}) {
    SCOPED_TRACE(name);
    ASSERT_EQ(bitmap->Init(4, 4), IMAGERESULT::OK);
    bitmap->SetPixel(3, 3, 1, 2, 3);
    EXPECT_EQ(bitmap->Init(named(folder, name)), result);
    EXPECT_EQ(bitmap->GetBw(), 0);
    EXPECT_EQ(pixel(bitmap, 3, 3), (Rgb{0, 0, 0}));
  }
}

TEST(Bitmap, SavesPngAndRefusesWhatItCannotKeep) {
  const TemporaryFolder folder;
  AutoAlloc<BaseBitmap> bitmap, empty;
  ASSERT_EQ(bitmap->Init(3, 2, 32), IMAGERESULT::OK);
  bitmap->SetPixel(2, 1, 1, 2, 3);
  ASSERT_EQ(bitmap->Save(named(folder, "good.png"), FILTER_PNG, nullptr, SAVEBIT::NONE), IMAGERESULT::OK);
  const image::Image saved = image::read(folder / "good.png");
  EXPECT_EQ(saved.channels(), 3);
  EXPECT_EQ(saved.row<std::uint8_t>(1)[8], 3);

  const cinema::Filename bad = named(folder, "bad.png");
  EXPECT_EQ(bitmap->Save(bad, FILTER_PNG + 1, nullptr, SAVEBIT::NONE), IMAGERESULT::WRONGTYPE);
  EXPECT_EQ(bitmap->Save(bad, FILTER_PNG, nullptr, SAVEBIT::ALPHA), IMAGERESULT::PARAM_ERROR);
  EXPECT_EQ(empty->Save(bad, FILTER_PNG, nullptr, SAVEBIT::NONE), IMAGERESULT::PARAM_ERROR);
  EXPECT_EQ(bitmap->Save(host::filenameOf(folder / "no" / "bad.png"), FILTER_PNG, nullptr, SAVEBIT::NONE),
            IMAGERESULT::FILEERROR);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

// A picture of black in its left half and one colour in its right half, scaled into black.
TEST(Bitmap, ScalesBetweenInclusiveCornersAndNeverBeyondThem) {
  AutoAlloc<BaseBitmap> source, empty;
  ASSERT_EQ(source->Init(4, 2), IMAGERESULT::OK);
  for (int i = 0; i < 4; ++i) source->SetPixel(2 + i % 2, i / 2, 50, 60, 70);
  struct Row {
    std::array<Int32, 4> from, to;
    bool writes;  // the colour at 4, 4
  };
  const Row rows[] = {{{2, 0, 3, 1}, {1, 1, 4, 4}, true},
                      {{2, -9, 90, 90}, {0, 0, 4, 4}, true},
                      {{2, 0, 3, 1}, {-5, -5, 9, 9}, true},
                      {{2, INT_MIN, INT_MAX, INT_MAX}, {2, 2, 4, 4}, true},
                      {{2, 0, 3, 1}, {0, 0, 3, 3}, false},
                      {{2, 0, 3, 1}, {0, 0, INT_MAX, 5}, false},
                      {{2, 0, 3, 1}, {INT_MIN, 0, INT_MAX, 5}, false},
                      {{2, 0, 3, 1}, {5, 5, 0, 0}, false},
                      {{3, 1, 2, 0}, {0, 0, 5, 5}, false},
                      {{4, 0, 9, 1}, {0, 0, 5, 5}, false}};
  for (const auto& [from, to, writes] : rows) {
    SCOPED_TRACE(testing::PrintToString(from) + " to " + testing::PrintToString(to));
    AutoAlloc<BaseBitmap> target;
    ASSERT_EQ(target->Init(6, 6, 32), IMAGERESULT::OK);
    for (BaseBitmap* into : {target.GetPointer(), empty.GetPointer()})
      source->ScaleBicubic(into, from[0], from[1], from[2], from[3], to[0], to[1], to[2], to[3]);
    EXPECT_EQ(pixel(target, 4, 4), (writes ? Rgb{50, 60, 70} : Rgb{0, 0, 0}));
    EXPECT_EQ(pixel(target, 5, 4), (writes && to[2] > 4 ? Rgb{50, 60, 70} : Rgb{0, 0, 0}));
  }
  EXPECT_EQ(empty->GetBw(), 0);
}

}  // namespace
}  // namespace quillmere::test
