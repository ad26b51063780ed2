#include "core/utf8.h"

#include <array>

namespace quillmere::host {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isScalar(char32_t point) {
  return point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
}

unsigned byteAt(std::string_view text, size_t at) {
  return static_cast<unsigned char>(text[at]);
}

struct Sequence {
  size_t bytes = 1;
  char32_t point = kReplacement;
};

// The sequence that begins at `at`; one byte standing for U+FFFD when none does.
Sequence sequenceAt(std::string_view text, size_t at) {
  const unsigned lead = byteAt(text, at);
  if (lead < 0x80) return {1, lead};
  const size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || at + bytes > text.size()) return {};
  char32_t point = lead & (0x7Fu >> bytes);
  for (size_t i = 1; i < bytes; ++i) {
    const unsigned next = byteAt(text, at + i);
    if ((next & 0xC0u) != 0x80u) return {};
    point = point << 6 | (next & 0x3Fu);
  }
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  if (point < kSmallest[bytes] || !isScalar(point)) return {};
  return {bytes, point};
}

void append(std::string& text, char32_t point) {
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

}  // namespace

std::u32string decodeUtf8(std::string_view utf8) {
  std::u32string points;
  points.reserve(utf8.size());
  for (size_t at = 0; at < utf8.size();) {
    const Sequence sequence = sequenceAt(utf8, at);
    points += sequence.point;
    at += sequence.bytes;
  }
  return points;
}

std::string encodeUtf8(std::u32string_view points) {
  std::string text;
  text.reserve(points.size());
  for (const char32_t point : points) append(text, isScalar(point) ? point : kReplacement);
  return text;
}

}  // namespace quillmere::host
