#pragma once

#include <string>
#include <string_view>

namespace quillmere::app {

// `text` as valid UTF-8 on one line that can't steer a terminal: line breaks and tabs become blanks; other control
// characters, escape bytes, marks that turn the writing direction and broken bytes become U+FFFD.
std::string printable(std::string_view text);

// Terminal columns that printable text takes up.
int cellsOf(std::string_view printableText);

// `printableText` cut so that it takes up at most `cells` columns, ending in `ellipsis` where something was cut off.
std::string fitted(std::string_view printableText, int cells, std::string_view ellipsis);

}  // namespace quillmere::app
