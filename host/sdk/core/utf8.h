#pragma once

#include <string>
#include <string_view>

namespace quillmere::host {

// Each byte that is no part of a valid sequence (overlong forms, surrogates and values above U+10FFFF are not valid)
// decodes to U+FFFD, so nothing is cut and no text is refused.
std::u32string decodeUtf8(std::string_view utf8);

// What is no Unicode scalar value is written as U+FFFD.
std::string encodeUtf8(std::u32string_view points);

}  // namespace quillmere::host
