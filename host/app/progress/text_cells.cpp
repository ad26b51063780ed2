#include "text_cells.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace quillmere::app {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
  char32_t point;
  std::size_t length;  // bytes it took, at least 1
};

// The first character of non-empty `text`; a byte that starts no valid sequence is one replacement character.
Decoded decode(std::string_view text) {
  const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {kReplacement, 1};
  char32_t point = lead & (0xFFU >> (length + 1));
  for (std::size_t at = 1; at < length; ++at) {
    if ((byte(at) & 0xC0U) != 0x80U) return {kReplacement, 1};
    point = (point << 6U) | (byte(at) & 0x3FU);
  }
  const bool overlong = (length == 3 && point < 0x800) || (length == 4 && point < 0x10000);
  if (overlong || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return {kReplacement, 1};
  return {point, length};
}

void append(std::string& text, char32_t point) {
  const auto put = [&](char32_t bits) { text += static_cast<char>(bits); };
  if (point < 0x80) {
    put(point);
  } else if (point < 0x800) {
    put(0xC0 | (point >> 6U)), put(0x80 | (point & 0x3FU));
  } else if (point < 0x10000) {
    put(0xE0 | (point >> 12U)), put(0x80 | ((point >> 6U) & 0x3FU)), put(0x80 | (point & 0x3FU));
  } else {
    put(0xF0 | (point >> 18U)), put(0x80 | ((point >> 12U) & 0x3FU));
    put(0x80 | ((point >> 6U) & 0x3FU)), put(0x80 | (point & 0x3FU));
  }
}

struct Range {
  char32_t first, last;
};

template <std::size_t N>
bool in(const std::array<Range, N>& ranges, char32_t point) {
  return std::any_of(ranges.begin(), ranges.end(), [&](Range r) { return point >= r.first && point <= r.last; });
}

// Controls, and the marks that turn the writing direction or break the line.
constexpr std::array kSteering{Range{0, 0x1F},        Range{0x7F, 0x9F},     Range{0x200E, 0x200F},
                               Range{0x2028, 0x202E}, Range{0x2066, 0x2069}, Range{0xFEFF, 0xFEFF}};
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

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const auto [point, length] = decode(text);
    const bool blank = point == '\t' || point == '\n' || point == '\r';
    append(shown, blank ? U' ' : in(kSteering, point) ? kReplacement : point);
    text.remove_prefix(length);
  }
  return shown;
}

int cellsOf(std::string_view printableText) {
  int total = 0;
  while (!printableText.empty()) {
    const auto [point, length] = decode(printableText);
    total += cells(point);
    printableText.remove_prefix(length);
  }
  return total;
}

std::string fitted(std::string_view printableText, int room, std::string_view ellipsis) {
  if (cellsOf(printableText) <= room) return std::string(printableText);
  int left = room - cellsOf(ellipsis);
  if (left < 0) return {};
  std::string cut;
  while (!printableText.empty()) {
    const auto [point, length] = decode(printableText);
    if (left < cells(point)) break;
    left -= cells(point);
    cut += printableText.substr(0, length);
    printableText.remove_prefix(length);
  }
  return cut + std::string(ellipsis);
}

}  // namespace quillmere::app
