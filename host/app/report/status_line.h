#pragma once

#include <cstdint>
#include <string>

namespace quillmere::app {

enum class Glyphs { Ascii, Unicode };

// What the terminal of this process can show, told by LC_ALL, LC_CTYPE and LANG.
Glyphs glyphsOfEnvironment();

// What one line of a terminal says about a running render.
struct StatusLine {
  std::int32_t frame = 0;
  std::int64_t index = 0, count = 1;  // of this frame, from 0
  double fraction = 0;                // of this frame, 0 to 1
  bool spinning = false;
  std::string text;    // may be anything
  double seconds = 0;  // since the frame began
};

// The line at most `width` columns wide, without a line break; `tick` turns the spinner.
std::string composed(const StatusLine& line, unsigned tick, int width, Glyphs glyphs);

}  // namespace quillmere::app
