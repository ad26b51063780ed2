#include "progress/status_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "progress/text_cells.h"

namespace quillmere::app {
namespace {

TEST(Printable, LeavesNothingThatSteersATerminal) {
  struct Row {
    std::string given, shown;
  };
  for (const auto& [given, shown] : std::vector<Row>{{"Washing tones (40 %)", "Washing tones (40 %)"},
                                                     {"two\nlines\tand\rmore", "two lines and more"},
                                                     {"\x1b[31mred\x07", "\uFFFD[31mred\uFFFD"},
                                                     {"\xC2\x9B"
                                                      "31m",
                                                      "\uFFFD31m"},
                                                     {"a\u202E"
                                                      "b",
                                                      "a\uFFFD"
                                                      "b"},
                                                     {std::string("a\0b", 3),
                                                      "a\uFFFD"
                                                      "b"},
                                                     {"Lumière 光 🎨", "Lumière 光 🎨"}}) {
    EXPECT_EQ(printable(given), shown);
  }
}

TEST(Printable, ReplacesEachByteThatIsNoUtf8) {
  for (const auto& [given, broken] : std::vector<std::pair<std::string, int>>{{"\xFF", 1},
                                                                              {"\xC0\xAF", 2},
                                                                              {"\xE2\x82", 2},
                                                                              {"\xED\xA0\x80", 3},
                                                                              {"\xF4\x90\x80\x80", 4},
                                                                              {"\xF0\x80\x80\x80", 4}}) {
    std::string expected;
    for (int count = 0; count < broken; ++count) expected += "\uFFFD";
    EXPECT_EQ(printable(given + "x"), expected + "x");
  }
}

TEST(Fitted, CutsBetweenCharactersAndKeepsToTheColumns) {
  struct Row {
    const char* given;
    int cells;
    const char* cut;
  };
  for (const auto& [given, cells, cut] : std::vector<Row>{{"abcdef", 6, "abcdef"},
                                                          {"abcdef", 5, "abcd…"},
                                                          {"光光光", 6, "光光光"},
                                                          {"光光光", 5, "光光…"},
                                                          {"光光光", 4, "光…"},
                                                          {"e\u0301e\u0301e\u0301", 2, "e\u0301…"},
                                                          {"abc", 0, ""}}) {
    SCOPED_TRACE(given);
    EXPECT_EQ(fitted(given, cells, "…"), cut);
  }
}

TEST(StatusLine, NeverGrowsBeyondTheTerminal) {
  StatusLine line{-2147483647, 98, 100, 0.5, true, std::string(300, 'x') + "光\x1b[2J", 12345.6};
  for (const Glyphs glyphs : {Glyphs::Ascii, Glyphs::Unicode}) {
    for (int width = 0; width < 200; ++width) {
      const std::string drawn = composed(line, static_cast<unsigned>(width), width, glyphs);
      EXPECT_LE(cellsOf(drawn), width);
      EXPECT_EQ(drawn.find_first_of("\x1b\n\r"), std::string::npos);
    }
  }
}

TEST(StatusLine, ShowsFrameBarTextAndTime) {
  const StatusLine line{12, 1, 4, 0.0, true, "Inking", 3.9};
  EXPECT_EQ(composed(line, 1, 80, Glyphs::Ascii), "/ [#####...............] frame 12 (2/4)  Inking  3 s");
  EXPECT_EQ(composed({12, 0, 1, 1.0, false, "Render complete", 0}, 1, 40, Glyphs::Ascii),
            "  frame 12  Render complete  0 s");
}

}  // namespace
}  // namespace quillmere::app
