#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere::app {

// Where `wanted` stands among `names`: the first that is the same, else the only one that differs in the case of ASCII
// letters alone. None when there is no such one, or more than one.
std::optional<std::size_t> indexOfName(const std::vector<std::string>& names, std::string_view wanted);

// The names in quotes with commas between them, for a message; "none" when there are none.
std::string listed(const std::vector<std::string>& names);

}  // namespace quillmere::app
