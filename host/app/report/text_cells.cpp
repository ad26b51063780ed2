#include "text_cells.h"

#include <algorithm>
#include <array>

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

}  // namespace quillmere::app
