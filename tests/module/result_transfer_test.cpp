#include "result_transfer.h"

#include <gmock/gmock.h>

#include <numeric>

#include "call_log.h"
#include "host_case.h"
#include "image/file_formats.h"

namespace quillmere {
namespace {

using namespace cinema;
using Pixels = std::vector<float>;
using testing::ElementsAre;
using testing::FloatEq;
using testing::Pointwise;

struct ResultTransfer : HostCase {
  // A row of two pixels with half an alpha becomes the result.
  void picture() {
    const std::uint8_t samples[] = {255, 0, 51, 127, 0, 255, 85, 127};
    image::Image row(2, 1, 4, image::Sample::Byte);
    std::copy(std::begin(samples), std::end(samples), row.row<std::uint8_t>(0));
    image::writePng(file, row, image::PngDepth::As8Bit);
    result = host::filenameOf(file);
  }
  // The buffer after the transfer.
  Pixels transferred(int width, int height = 1, int components = 4) {
    host::RenderCall call(nullptr, host::RenderCall::Buffer{width, height, components}, noBreak);
    VideoPostStruct& vps = call.at(VIDEOPOSTCALL::RENDER, false);
    TransferResult(&vps, result);
    Pixels line(std::size_t(width * components)), pixels;
    for (Int32 y = 0; y < height; ++y) {
      vps.render->GetBuffer(VPBUFFER_RGBA, NOTOK)->GetLine(0, y, width, line.data(), 32, false);
      pixels.insert(pixels.end(), line.begin(), line.end());
    }
    return pixels;
  }
  const std::filesystem::path file = folder / "result.png";
  Filename result = host::filenameOf(file);
};

TEST_F(ResultTransfer, DividesTheStoredValuesAndIsOpaque) {
  picture();
  EXPECT_THAT(transferred(2), Pointwise(FloatEq(), Pixels{1, 0, 0.2f, 1, 0, 1, 1.0f / 3, 1}));
  EXPECT_FALSE(result.IsPopulated());
  picture();
  EXPECT_THAT(transferred(2, 1, 3), Pointwise(FloatEq(), Pixels{1, 0, 0.2f, 0, 1, 1.0f / 3})) << "no room for an alpha";
}

TEST_F(ResultTransfer, DividesEveryValueToTheNearestFloat) {
  image::Image every(256, 256, 1, image::Sample::Word);
  std::iota(every.row<std::uint16_t>(0), every.row<std::uint16_t>(0) + 65536, std::uint16_t(0));
  image::writePng(file, every, image::PngDepth::As16Bit);
  const Pixels pixels = transferred(256, 256, 3);
  for (std::size_t i = 0; i < 65536; ++i) ASSERT_EQ(pixels[3 * i], float(double(i) / 65535.0)) << i;
}

TEST_F(ResultTransfer, StretchesThePictureOverTheWholeBufferOrCopiesItAsItIs) {
  picture();
  const Pixels pixels = transferred(16, 3), first(&pixels[0], &pixels[4]), last(&pixels[188], &pixels[192]);
  EXPECT_THAT(first, Pointwise(testing::FloatNear(0.1f), Pixels{1, 0, 0.2f, 1}));
  EXPECT_THAT(last, Pointwise(testing::FloatNear(0.1f), Pixels{0, 1, 0.33f, 1}));
  picture();
  const host::Substitute noMemory(host::operations().initBitmap, [](auto&&...) { return IMAGERESULT::OUTOFMEMORY; });
  EXPECT_THAT(transferred(3), Pointwise(FloatEq(), Pixels{1, 0, 0.2f, 1, 0, 1, 1.0f / 3, 1, 0, 0, 0, 1}));
  EXPECT_EQ(told.lines.back(), "console quillmere: a picture is not made: there is not enough memory for 3x1 pixels");
}

TEST_F(ResultTransfer, ScalesCornerToCornerIntoASecondBitmapOnlyWhereSizesDiffer) {
  for (const auto& [width, height, corners] : std::vector<std::tuple<int, int, const char*>>{
           {2, 1, nullptr}, {3, 1, "0 0 1 0 0 0 2 0 "}, {2, 4, "0 0 1 0 0 0 1 3 "}}) {
    picture();
    told.lines.clear();
    callLog.ofScaling.clear();
    const OperationsLog operations(told);
    transferred(width, height);
    Lines expected{"bitmap", "load result.png"};
    if (corners)
      expected.insert(expected.end(),
                      {"bitmap", "init " + std::to_string(width) + " " + std::to_string(height) + " 32"});
    EXPECT_EQ(told.lines, expected);
    EXPECT_EQ(callLog.ofScaling, corners ? Lines{corners} : Lines{});
  }
}

TEST_F(ResultTransfer, LeavesComponentsBehindTheAlphaAt0) {
  picture();
  callLog.components = 6;
  transferred(2);
  EXPECT_THAT(callLog.linesWritten,
              ElementsAre(Pointwise(FloatEq(), Pixels{1, 0, 0.2f, 1, 0, 0, 0, 1, 1.0f / 3, 1, 0, 0})));
}

TEST_F(ResultTransfer, ShowsThePictureWhereThereIsNoBuffer) {
  picture();
  host::RenderCall call(nullptr, std::nullopt, noBreak);
  TransferResult(&call.at(VIDEOPOSTCALL::RENDER, false), result);
  EXPECT_THAT(told.lines, ElementsAre("viewer 2"));
  EXPECT_FALSE(result.IsPopulated());
}

TEST_F(ResultTransfer, LeavesTheBufferAloneWithoutAReadablePicture) {
  const Pixels untouched = transferred(1);
  EXPECT_TRUE(result.IsPopulated()) << "a file that isn't there may still come";
  write(file, "no picture");
  EXPECT_EQ(transferred(1), untouched);
  EXPECT_FALSE(result.IsPopulated());
  EXPECT_TRUE(told.lines.empty());

  picture();
  int attempts = 0;
  const host::Substitute secondTimeLucky(host::operations().loadBitmap, [&](BaseBitmap& bitmap, const Filename&) {
    return ++attempts == 1 ? IMAGERESULT::FILEERROR : bitmap.Init(4, 4, 24);
  });
  EXPECT_EQ(transferred(1), untouched);
  EXPECT_THAT(told.lines, ElementsAre("viewer 4"));
}

}  // namespace
}  // namespace quillmere
