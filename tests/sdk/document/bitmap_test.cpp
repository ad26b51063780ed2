#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <optional>
#include <tuple>
#include <vector>

#include "c4d.h"
#include "core/text.h"
#include "image/file_formats.h"
#include "temporary_folder.h"

namespace quillmere::test {
namespace {

using namespace cinema;
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
