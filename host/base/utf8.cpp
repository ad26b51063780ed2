#include "base/utf8.h"

#include <algorithm>
#include <array>

namespace quillmere {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isScalar(char32_t point) {
  return point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
}

unsigned byteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// Controls, and the marks that turn the writing direction or break the line.
bool steersTerminal(char32_t point) {
  struct Range {
    char32_t first, last;
  };
  constexpr std::array kSteering{Range{0, 0x1F},        Range{0x7F, 0x9F},     Range{0x200E, 0x200F},
                                 Range{0x2028, 0x202E}, Range{0x2066, 0x2069}, Range{0xFEFF, 0xFEFF}};
  return std::any_of(kSteering.begin(), kSteering.end(),
                     [point](Range range) { return point >= range.first && point <= range.last; });
}

template <class Take>
void forEachCharacter(std::string_view text, Take&& take) {
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Character character = characterAt(text, at);
    take(character.point);
    at += character.bytes;
  }
}

}  // namespace

Utf8Character characterAt(std::string_view utf8, std::size_t at) {
  const unsigned lead = byteAt(utf8, at);
  if (lead < 0x80) return {lead, 1};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || bytes > utf8.size() - at) return {kReplacement, 1};
  char32_t point = lead & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    const unsigned next = byteAt(utf8, at + i);
    if ((next & 0xC0u) != 0x80u) return {kReplacement, 1};
    point = point << 6 | (next & 0x3Fu);
  }
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  if (point < kSmallest[bytes] || !isScalar(point)) return {kReplacement, 1};
  return {point, bytes};
}

void appendUtf8(std::string& text, char32_t given) {
  const char32_t point = isScalar(given) ? given : kReplacement;
  const auto tail = [&](int shift) { text += static_cast<char>(0x80u | (point >> shift & 0x3Fu)); };
  if (point < 0x80) {
    text += static_cast<char>(point);
  } else if (point < 0x800) {
    text += static_cast<char>(0xC0u | point >> 6);
    tail(0);
  } else if (point < 0x10000) {
    text += static_cast<char>(0xE0u | point >> 12);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0u | point >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

std::u32string decodeUtf8(std::string_view utf8) {
  std::u32string points;
  points.reserve(utf8.size());
  forEachCharacter(utf8, [&](char32_t point) { points += point; });
  return points;
}

std::string encodeUtf8(std::u32string_view points) {
  std::string text;
  text.reserve(points.size());
  for (const char32_t point : points) appendUtf8(text, point);
  return text;
}

bool isUtf8(std::string_view text) {
  return encodeUtf8(decodeUtf8(text)) == text;
}

std::string printable(std::string_view text) {
  std::string shown;
  forEachCharacter(text, [&](char32_t point) {
    const bool blank = point == '\t' || point == '\n' || point == '\r';
    appendUtf8(shown, blank ? U' ' : steersTerminal(point) ? kReplacement : point);
  });
  return shown;
}

}  // namespace quillmere
