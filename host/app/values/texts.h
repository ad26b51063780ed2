#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere::app {

// Throws Failure, which calls the text `what`, when it is not UTF-8 or holds a NUL character. The host has no other
// texts: it would put U+FFFD in the place of each wrong byte, which makes another prompt, or the path of another file.
void requireUtf8(const std::string& what, std::string_view text);

// The names in quotes with commas between them, for a message; "none" when there are none.
std::string listed(const std::vector<std::string>& names);

// Where `wanted` stands among `names`: the first that is the same, else the only one that differs in the case of ASCII
// letters alone. None when there is no such one, or more than one.
std::optional<std::size_t> indexOfName(const std::vector<std::string>& names, std::string_view wanted);

// The name that `wanted` may be a slip of: the nearest by letters put in, left out, replaced or swapped, in either
// case; empty when none is near.
std::string nearestName(const std::vector<std::string>& names, std::string_view wanted);

// "did you mean 'Pier'? " or nothing, to go before a list of the names.
std::string suggestion(const std::vector<std::string>& names, std::string_view wanted);

}  // namespace quillmere::app
