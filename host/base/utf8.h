#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 that others have written. Each byte that is no part of a valid sequence (overlong forms, surrogates and values
// above U+10FFFF are not valid) decodes to U+FFFD, so nothing is cut and no text is refused.
namespace quillmere {

struct Utf8Character {
  char32_t point;
  std::size_t bytes;  // that it takes, at least 1
};

// The one that begins at `at`, which must lie inside.
Utf8Character characterAt(std::string_view utf8, std::size_t at);

// What is no Unicode scalar value is written as U+FFFD.
void appendUtf8(std::string& text, char32_t point);

std::u32string decodeUtf8(std::string_view utf8);
std::string encodeUtf8(std::u32string_view points);
bool isUtf8(std::string_view text);

// `text` as valid UTF-8 on one line that can't steer a terminal: line breaks and tabs become blanks; other control
// characters, escape bytes, marks that turn the writing direction and broken bytes become U+FFFD.
std::string printable(std::string_view text);

}  // namespace quillmere
