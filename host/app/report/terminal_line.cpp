#include "terminal_line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "base/utf8.h"

namespace quillmere::app {
namespace {

struct Range {
  char32_t first, last;
};

template <std::size_t N>
bool in(const std::array<Range, N>& ranges, char32_t point) {
  return std::any_of(ranges.begin(), ranges.end(), [&](Range r) { return point >= r.first && point <= r.last; });
}

// Coarse blocks of Unicode's combining marks and of its East Asian wide characters and emoji.
constexpr std::array kNoCell{Range{0x300, 0x36F},   Range{0x1AB0, 0x1AFF}, Range{0x1DC0, 0x1DFF}, Range{0x200B, 0x200D},
                             Range{0x20D0, 0x20FF}, Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F}};
constexpr std::array kTwoCells{Range{0x1100, 0x115F},   Range{0x2E80, 0xA4CF},   Range{0xAC00, 0xD7A3},
                               Range{0xF900, 0xFAFF},   Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},
                               Range{0xFFE0, 0xFFE6},   Range{0x1F300, 0x1F64F}, Range{0x1F680, 0x1F6FF},
                               Range{0x1F900, 0x1F9FF}, Range{0x20000, 0x3FFFD}};

int cells(char32_t point) {
  return in(kNoCell, point) ? 0 : in(kTwoCells, point) ? 2 : 1;
}

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

int cellsOf(std::string_view printableText) {
  int total = 0;
  for (const char32_t point : decodeUtf8(printableText)) total += cells(point);
  return total;
}

std::string fitted(std::string_view printableText, int room, std::string_view ellipsis) {
  if (cellsOf(printableText) <= room) return std::string(printableText);
  int left = room - cellsOf(ellipsis);
  if (left < 0) return {};
  std::size_t kept = 0;
  while (kept < printableText.size()) {
    const auto [point, bytes] = characterAt(printableText, kept);
    if (left < cells(point)) break;
    left -= cells(point);
    kept += bytes;
  }
  return std::string(printableText.substr(0, kept)).append(ellipsis);
}

std::string durationText(double seconds) {
  constexpr int kMinute = 60, kHour = 3600;
  const auto whole = [](double of) { return std::to_string(std::lround(of)); };
  if (seconds < 2 * kMinute) return whole(seconds) + " s";
  return seconds < 2 * kHour ? whole(seconds / kMinute) + " min" : whole(seconds / kHour) + " h";
}

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

std::string frameName(std::int32_t frame, std::int64_t index, std::int64_t count) {
  const std::string name = "frame " + std::to_string(frame);
  return count > 1 ? name + " (" + std::to_string(index + 1) + "/" + std::to_string(count) + ")" : name;
}

std::string textOf(const StatusLine& line, unsigned tick, int width, Glyphs glyphs) {
  std::string head = spinner(line.spinning, tick, glyphs) + " ";
  const double share = line.share.value_or((double(line.index) + line.fraction) / double(line.count));
  if (width >= kRoomForBar) head += bar(share, glyphs);
  head += frameName(line.frame, line.index, line.count);
  if (line.others > 0) head += " and " + std::to_string(line.others) + " more";
  std::string tail = "  " + std::to_string(static_cast<long>(line.seconds)) + " s";
  if (line.secondsLeft >= 1 && width >= kRoomForBar) tail += ", about " + durationText(line.secondsLeft) + " left";
  if (line.allSecondsLeft >= 1 && width >= kRoomForBar) tail += "; all: about " + durationText(line.allSecondsLeft);
  const std::string_view ellipsis = glyphs == Glyphs::Unicode ? "…" : "...";
  const int room = width - cellsOf(head) - cellsOf(tail) - 2;
  if (room < cellsOf(ellipsis) + 1) return fitted(head, width, "");
  return head + "  " + fitted(printable(line.text), room, ellipsis) + tail;
}

}  // namespace quillmere::app
