#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Text on one line of a terminal, and the line that tells how a render goes.
namespace quillmere::app {

// Terminal columns that printable text takes up.
int cellsOf(std::string_view printableText);

// `printableText` cut so that it takes up at most `cells` columns, ending in `ellipsis` where something was cut off.
std::string fitted(std::string_view printableText, int cells, std::string_view ellipsis);

enum class Glyphs { Ascii, Unicode };

// What the terminal of this process can show, told by LC_ALL, LC_CTYPE and LANG.
Glyphs glyphsOfEnvironment();

// "40 s", "12 min", "3 h".
std::string durationText(double seconds);

// What one line of a terminal says about a running render.
struct StatusLine {
  std::int32_t frame = 0;
  std::int64_t index = 0, count = 1;  // of this frame, from 0
  double fraction = 0;                // of this frame, 0 to 1
  bool spinning = false;
  std::string text;         // may be anything
  double seconds = 0;       // since the frame began
  double secondsLeft = 0;   // an estimate; less than 1: there is none
  std::int64_t others = 0;  // further frames in flight
  std::optional<double> share =
      {};                     // of the whole sequence that is done, 0 to 1; none: what comes before this frame is
  double allSecondsLeft = 0;  // as above, of the whole sequence
};

// "frame 12" or, of several frames, "frame 12 (3/48)".
std::string frameName(std::int32_t frame, std::int64_t index, std::int64_t count);

// The line at most `width` columns wide, without a line break; `tick` turns the spinner.
std::string textOf(const StatusLine& line, unsigned tick, int width, Glyphs glyphs);

}  // namespace quillmere::app
