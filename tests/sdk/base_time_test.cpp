#include <gtest/gtest.h>

#include "c4d.h"

namespace cinema {
namespace {

TEST(Time, FramesAreCutFromAReducedFraction) {
  const struct {
    BaseTime time;
    Float numerator, denominator, fps;
    Int32 frame;
  } rows[] = {
      {BaseTime(), 0, 1, 30, 0},
      {BaseTime(0.5), 1, 2, 30, 15},
      {BaseTime(1.0 / 3.0), 333, 1000, 30, 9},  // kept to the millisecond
      {BaseTime(7, 30), 7, 30, 30, 7},
      {BaseTime(29, 24), 29, 24, 24, 29},
      {BaseTime(-3, 30), -1, 10, 30, -3},
      {BaseTime(3, -30), -1, 10, 25, -2},  // -25 / 10
      {BaseTime(-0.0), 0, 1, 30, 0},
      {BaseTime(1, 0), 1, 1, 30, 30},
      {BaseTime(1e300, 1e-300), 9007199254740992.0, 1, 30, INT32_MAX},
      {BaseTime(-1e300), -9007199254740992.0 / 8, 125, 1e9, INT32_MIN},
      {BaseTime(__builtin_nan("")), 0, 1, 30, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(row.time, BaseTime(row.numerator, row.denominator));
    EXPECT_EQ(row.time.GetFrame(row.fps), row.frame);
  }
  EXPECT_EQ(BaseTime(2, 4), BaseTime(0.5));
}

}  // namespace
}  // namespace cinema
