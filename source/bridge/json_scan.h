#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Shallow searches of JSON text for one key, at any depth, without a parser. They mean exactly what the ECMAScript
// patterns beside them mean to std::regex (leftmost match, greedy, bytes), but take linear time and constant stack on
// any bytes: what another program wrote, or has half written, can't stall or end the host. A key is taken literally.
namespace quillmere {

// The position behind `"key"\s*:\s*` when that stands at `at`; `quotedKey` is the key with its quotes.
std::optional<std::size_t> BehindKeyAndColon(std::string_view text, std::size_t at, std::string_view quotedKey);

// Capture 1 of the first match of `"key"\s*:\s*"((?:\\.|[^"])*)"`: the value as written, escapes and all.
std::optional<std::string_view> FindJsonString(std::string_view text, std::string_view key);

// Capture 1 of the first match of `"key"\s*:\s*(true|false)`, as a truth value.
std::optional<bool> FindJsonBool(std::string_view text, std::string_view key);

// Undoes, each over the whole text and in this order, the escapes of the double quote, of the backslash (a run of
// backslashes becomes one) and of the line feed. All other escapes stay as they are.
std::string UndoJsonEscapes(std::string_view raw);

}  // namespace quillmere
