#include "values/frames.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "values/failure.h"

namespace quillmere::app {
namespace {

std::string framesOf(const FrameRange& range) {
  std::string text;
  for (std::int64_t index = 0; index < range.count(); ++index) text += std::to_string(range.at(index)) + " ";
  return text;
}

TEST(FrameRange, ReadsEveryFormWithFramesBelowZero) {
  const std::pair<const char*, const char*> rows[] = {
      {"12", "12 "},           {"-5", "-5 "},          {"3-3", "3 "},        {"1-4", "1 2 3 4 "},
      {"-2-1", "-2 -1 0 1 "},  {"-4--2", "-4 -3 -2 "}, {"0-10x4", "0 4 8 "}, {"-10--2x3", "-10 -7 -4 "},
      {"0-1x2147483647", "0 "}};
  for (const auto& [given, frames] : rows) {
    SCOPED_TRACE(given);
    EXPECT_EQ(framesOf(parseFrameRange(given)), frames);
  }
}

TEST(FrameRange, CountsTheWidestRangeWithoutOverflow) {
  const FrameRange range = parseFrameRange("-2147483648-2147483647");
  EXPECT_EQ(range.count(), std::int64_t{1} << 32);
  EXPECT_EQ(range.at(range.count() - 1), 2147483647);
  EXPECT_EQ(parseFrameRange("-2147483648-2147483647x2147483647").at(2), 2147483646);
}

TEST(FrameRange, RefusesWhatItWouldHaveToGuess) {
  for (const char* given :
       {"",      "-",      "a",    "1-",   "1--",        "-1-x2",        "5-4",
        "1-4x0", "1-4x-1", "1-4x", "1x2",  "1-4x2x2",    " 1",           "1 ",
        "+1",    "1,2",    "1.5",  "0x10", "2147483648", "1-2147483648", "1-2x99999999999999999999"}) {
    EXPECT_THROW(parseFrameRange(given), Failure) << "'" << given << "'";
  }
}

TEST(PictureSize, ReadsTwoSidesAndNothingElse) {
  const PictureSize size = parsePictureSize("1920x1080");
  EXPECT_EQ(size.width, 1920);
  EXPECT_EQ(size.height, 1080);
  for (const char* given :
       {"", "x", "1920", "1920x", "x1080", "0x4", "4x-4", "16001x4", "4x4x4", "4 x4", "4X4", "99999999999x4"}) {
    EXPECT_THROW(parsePictureSize(given), Failure) << "'" << given << "'";
  }
}

TEST(OutputPattern, PutsThePaddedFrameWhereTheMarksStand) {
  const std::tuple<const char*, std::int32_t, const char*> rows[] = {{"a_####.png", 7, "a_0007.png"},
                                                                     {"a_####.png", -7, "a_-0007.png"},
                                                                     {"a_##.exr", 12345, "a_12345.exr"},
                                                                     {"#/b#c##.PNG", 4, "#/b4c04.PNG"},
                                                                     {"/x/still.png", 4, "/x/still.png"},
                                                                     {"a.16.png", 4, "a.16.png"},
                                                                     {"####.png", -2147483647 - 1, "-2147483648.png"}};
  for (const auto& [given, frame, file] : rows) {
    SCOPED_TRACE(given);
    EXPECT_EQ(OutputPattern::parse(given).fileFor(frame), file);
  }
}

TEST(OutputPattern, NumbersFramesThatWouldShareAFile) {
  EXPECT_EQ(OutputPattern::parse("d/a.16.png").numberingFrames().fileFor(3), "d/a_0003.16.png");
  EXPECT_EQ(OutputPattern::parse("d/a##.png").numberingFrames().fileFor(3), "d/a03.png");
}

TEST(OutputPattern, TakesTheFormatFromTheEnding) {
  const std::pair<const char*, FileFormat> rows[] = {{"a.png", FileFormat::Png8},   {"a.Png", FileFormat::Png8},
                                                     {"a16.png", FileFormat::Png8}, {"a.16.PNG", FileFormat::Png16},
                                                     {".16.png", FileFormat::Png8}, {"a.exr", FileFormat::Exr}};
  for (const auto& [given, format] : rows) {
    EXPECT_EQ(OutputPattern::parse(given).format(), format) << given;
  }
  for (const char* given : {"", "a", "a.jpg", "a.png/", ".png", "d/.exr", "png", "a.png "}) {
    EXPECT_THROW(OutputPattern::parse(given), Failure) << "'" << given << "'";
  }
}

}  // namespace
}  // namespace quillmere::app
