#include "values/output_pattern.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "values/failure.h"

namespace quillmere::app {
namespace {

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
