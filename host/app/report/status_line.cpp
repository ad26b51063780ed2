#include "status_line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "base/utf8.h"
#include "text_cells.h"

namespace quillmere::app {
namespace {

constexpr int kBarCells = 20;
constexpr int kRoomForBar = 60;  // narrower terminals keep their columns for the text
constexpr std::array<const char*, 10> kTurning{"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr std::array<const char*, 4> kPlainTurning{"|", "/", "-", "\\"};

std::string spinner(bool spinning, unsigned tick, Glyphs glyphs) {
  if (!spinning) return " ";
  return glyphs == Glyphs::Unicode ? kTurning[tick % kTurning.size()] : kPlainTurning[tick % kPlainTurning.size()];
}

std::string bar(double fraction, Glyphs glyphs) {
  const int filled = static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * kBarCells));
  const bool unicode = glyphs == Glyphs::Unicode;
  std::string drawn = unicode ? "" : "[";
  for (int cell = 0; cell < kBarCells; ++cell) drawn += cell < filled ? (unicode ? "█" : "#") : (unicode ? "░" : ".");
  return drawn + (unicode ? " " : "] ");
}

}  // namespace

Glyphs glyphsOfEnvironment() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    const std::string_view locale(value);
    const auto names = [&](const char* encoding) { return locale.find(encoding) != std::string_view::npos; };
    return names("UTF-8") || names("utf8") || names("UTF8") || names("utf-8") ? Glyphs::Unicode : Glyphs::Ascii;
  }
  return Glyphs::Ascii;
}

std::string composed(const StatusLine& line, unsigned tick, int width, Glyphs glyphs) {
  std::string head = spinner(line.spinning, tick, glyphs) + " ";
  if (width >= kRoomForBar) head += bar((double(line.index) + line.fraction) / double(line.count), glyphs);
  head += "frame " + std::to_string(line.frame);
  if (line.count > 1) head += " (" + std::to_string(line.index + 1) + "/" + std::to_string(line.count) + ")";
  const std::string tail = "  " + std::to_string(static_cast<long>(line.seconds)) + " s";
  const std::string_view ellipsis = glyphs == Glyphs::Unicode ? "…" : "...";
  const int room = width - cellsOf(head) - cellsOf(tail) - 2;
  if (room < cellsOf(ellipsis) + 1) return fitted(head, width, "");
  return head + "  " + fitted(printable(line.text), room, ellipsis) + tail;
}

}  // namespace quillmere::app
