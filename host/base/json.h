#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace quillmere {

// Members keep their order.
using Json = nlohmann::ordered_json;

// The value that `text` holds, nested at most `deepest` levels: deeper values could use up the stack. Throws Error (the
// reason alone) for what is damaged, nested more deeply, or holds a number that no double has room for.
Json parsedJson(std::string_view text, int deepest);

// One line of UTF-8 with its line feed, in which broken bytes have become U+FFFD.
std::string lineOf(const Json& value);

}  // namespace quillmere
