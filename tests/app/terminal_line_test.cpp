#include "report/terminal_line.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/utf8.h"

namespace quillmere::app {
namespace {

TEST(Printable, ReplacesWhatSteersATerminalAndEachByteThatIsNoUtf8) {
  const std::pair<std::string, const char*> rows[] = {
      {"Washing tones (40 %)", "Washing tones (40 %)"},
      {"two\nlines\tand\rmore", "two lines and more"},
      {"\x1b[31mred\x07", "\uFFFD[31mred\uFFFD"},
      {"\u009B31m", "\uFFFD31m"},
      {"a\u202Eb", "a\uFFFDb"},
      {std::string("a\0b", 3), "a\uFFFDb"},
      {"Lumière 光 🎨", "Lumière 光 🎨"},
      {"\xFFx", "\uFFFDx"},
  };
  for (const auto& [given, shown] : rows) EXPECT_EQ(printable(given), shown);
}

TEST(Fitted, CutsBetweenCharactersAndKeepsToTheColumns) {
  const std::tuple<const char*, int, const char*> rows[] = {
      {"abcdef", 6, "abcdef"}, {"abcdef", 5, "abcd…"}, {"光光光", 6, "光光光"},
      {"光光光", 5, "光光…"},  {"光光光", 4, "光…"},   {"e\u0301e\u0301e\u0301", 2, "e\u0301…"},
      {"abc", 0, ""}};
  for (const auto& [given, cells, cut] : rows) {
    SCOPED_TRACE(given);
    EXPECT_EQ(fitted(given, cells, "…"), cut);
  }
}

TEST(StatusLine, ShowsFrameBarTextAndTime) {
  const StatusLine line{12, 1, 4, 0.0, true, "Inking", 3.9};
  EXPECT_EQ(textOf(line, 1, 80, Glyphs::Ascii), "/ [#####...............] frame 12 (2/4)  Inking  3 s");
  EXPECT_EQ(textOf({12, 0, 1, 1.0, false, "Render complete", 0}, 1, 40, Glyphs::Ascii),
            "  frame 12  Render complete  0 s");
  for (const auto& [left, shown] : std::vector<std::pair<double, const char*>>{
           {0.9, ""}, {30.4, ", about 30 s left"}, {121, ", about 2 min left"}, {7200, ", about 2 h left"}}) {
    EXPECT_EQ(textOf({12, 0, 1, 0.5, false, "", 3, left}, 1, 99, Glyphs::Ascii),
              "  [##########..........] frame 12    3 s" + std::string(shown));
  }
}

}  // namespace
}  // namespace quillmere::app
