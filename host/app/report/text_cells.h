#pragma once

#include <string>
#include <string_view>

namespace quillmere::app {

// Terminal columns that printable text takes up.
int cellsOf(std::string_view printableText);

// `printableText` cut so that it takes up at most `cells` columns, ending in `ellipsis` where something was cut off.
std::string fitted(std::string_view printableText, int cells, std::string_view ellipsis);

}  // namespace quillmere::app
