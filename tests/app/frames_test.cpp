#include "values/frames.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "values/failure.h"
#include "values/output_pattern.h"

namespace quillmere::app {
namespace {

std::string framesOf(const FrameSet& set) {
  std::string text;
  for (std::int64_t index = 0; index < set.count(); ++index) text += std::to_string(set.at(index)) + " ";
  return text;
}

TEST(FrameSet, ReadsEveryFormAsFramesInOrderEachOnce) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"12", "12 ", "12"},
      {"3-3", "3 ", "3"},
      {"-2-1", "-2 -1 0 1 ", "-2-1"},
      {"-4--2", "-4 -3 -2 ", "-4--2"},
      {"0-10x4", "0 4 8 ", "0-8:4"},
      {"-10--2:3", "-10 -7 -4 ", "-10--4:3"},
      {"0-1x2147483647", "0 ", "0"},
      {"1-3,20,30-34x2", "1 2 3 20 30 32 34 ", "1-3,20,30-34:2"},
      {"9,1-5:2,2-4,3", "1 2 3 4 5 9 ", "1-5,9"},
      {"1,3-5", "1 3 4 5 ", "1,3-5"},
      {"-2147483648,2147483647", "-2147483648 2147483647 ", "-2147483648,2147483647"}};
  for (const auto& [given, frames, text] : rows) {
    SCOPED_TRACE(given);
    const FrameSet set = parseFrameSet(given);
    EXPECT_EQ(framesOf(set), frames);
    EXPECT_EQ(set.text(), text);
    EXPECT_EQ(framesOf(parseFrameSet(set.text())), frames);
  }
}

TEST(FrameSet, CountsTheWidestRangeWithoutOverflow) {
  const FrameSet set = parseFrameSet("-2147483648-2147483647");
  EXPECT_EQ(set.count(), std::int64_t{1} << 32);
  EXPECT_EQ(set.last(), 2147483647);
  EXPECT_EQ(parseFrameSet("-2147483648-2147483647x2147483647").at(2), 2147483646);
  EXPECT_EQ(set.share(1, 2).text(), "0-2147483647");
}

TEST(FrameSet, IsSharedOutWholeInSharesOfNearlyOneSize) {
  for (const char* given : {"1-24", "1-10,20,30-40x2", "-5-5x3,7,9"}) {
    const FrameSet set = parseFrameSet(given);
    for (std::int64_t parts = 1; parts <= set.count(); ++parts) {
      std::string together;
      for (std::int64_t part = 0; part < parts; ++part) {
        const FrameSet share = set.share(part, parts);
        EXPECT_LE(share.count() - set.count() / parts, 1) << given << " in " << parts;
        together += framesOf(share);
      }
      EXPECT_EQ(together, framesOf(set)) << given << " in " << parts;
    }
  }
}

TEST(FrameSet, RefusesWhatItWouldHaveToGuess) {
  for (const char* given : {"",           "-",       "a",          "1-",           "1--",
                            "1-x2",       "5-4",     "1-4x0",      "1-4x-1",       "1-4x",
                            "1x2",        "1-4x2x2", " 1",         "1 ",           "+1",
                            "1,",         ",1",      "1,,2",       "1, 2",         "1-4:",
                            "1.5",        "0x10",    "2147483648", "1-2147483648", "1-2x99999999999999999999",
                            "1-1000000,7"}) {
    EXPECT_THROW(parseFrameSet(given), Failure) << "'" << given << "'";
  }
}

TEST(FrameRate, ReadsWholeNumbersRatiosAndTheRatesOfVideo) {
  const std::tuple<const char*, const char*, int, double> rows[] = {{"24", "24", 24, 24},
                                                                    {"23.976", "24000/1001", 24, 24000 / 1001.0},
                                                                    {"23.98", "24000/1001", 24, 24000 / 1001.0},
                                                                    {"29.97", "30000/1001", 30, 30000 / 1001.0},
                                                                    {"12.5", "25/2", 13, 12.5},
                                                                    {"30000/1001", "30000/1001", 30, 30000 / 1001.0},
                                                                    {"25.0", "25", 25, 25},
                                                                    {"23.9", "239/10", 24, 23.9},
                                                                    {"100000", "100000", 100000, 100000},
                                                                    {"1", "1", 1, 1}};
  for (const auto& [given, text, whole, perSecond] : rows) {
    SCOPED_TRACE(given);
    const FrameRate rate = parseFrameRate(given);
    EXPECT_EQ(rate.text(), text);
    EXPECT_EQ(rate.whole(), whole);
    EXPECT_NEAR(rate.secondsAt(1000), 1000 / perSecond, 1e-9);
    EXPECT_EQ(frameAt(rate.secondsAt(-7), rate), -7);
  }
  for (const char* given :
       {"", "0", "-24", "0.5", "1/2", "24/0", "/", "24/", "24.", ".5", "1e3", "100001", "24.97601", "24 "}) {
    EXPECT_THROW(parseFrameRate(given), Failure) << "'" << given << "'";
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
  const std::tuple<const char*, std::int32_t, const char*> rows[] = {
      {"a_####.png", 7, "a_0007.png"},
      {"a_####.png", -7, "a_-0007.png"},
      {"a_##.exr", 12345, "a_12345.exr"},
      {"#/b#c##.PNG", 4, "#/b4c04.PNG"},
      {"/x/still.png", 4, "/x/still.png"},
      {"a.16.png", 4, "a.16.png"},
      {"####.png", -2147483647 - 1, "-2147483648.png"},
      {"a.%04d.png", 7, "a.0007.png"},
      {"a%d.exr", 12, "a12.exr"},
      {"a.$F4.16.png", 7, "a.0007.16.png"},
      {"$F_x.png", 7, "7_x.png"},
      {"s_{frame}.png", 7, "s_0007.png"},
      {"f####/%02d/{frame}.png", 7, "f0007/07/0007.png"},
      {"c#/100%%_5%.png", 7, "c#/100%_5%.png"},
      {"{camera}/{camera}_##.png", 7, "Left__ eye/Left__ eye_07.png"}};
  for (const auto& [given, frame, file] : rows) {
    SCOPED_TRACE(given);
    EXPECT_EQ(OutputPattern::parse(given).forCamera("Left:/ eye").fileFor(frame), file);
  }
  for (const char* given :
       {"%s.png", "%4d.png", "$F4x.png", "$RENDER/a.png", "${F}.png", "{frames}.png", "a{}/b.png"}) {
    EXPECT_THROW(OutputPattern::parse(given), Failure) << given;
  }
}

TEST(OutputPattern, NumbersFramesThatWouldShareAFile) {
  EXPECT_EQ(OutputPattern::parse("d/a.16.png").numberingFrames().fileFor(3), "d/a_0003.16.png");
  EXPECT_EQ(OutputPattern::parse("d/a##.png").numberingFrames().fileFor(3), "d/a03.png");
  EXPECT_EQ(OutputPattern::parse("d/##/a.png").folder(), "d");
  const OutputPattern plain = OutputPattern::parse("a.png"), naming = plain.namingCameras();
  EXPECT_EQ(naming.forCamera("..").fileFor(3), "a__...png");
  EXPECT_THROW(refuseSharedFiles({"a/b", "a:b"}, naming), Failure);
  EXPECT_NO_THROW(refuseSharedFiles({"a", "b"}, naming));
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
