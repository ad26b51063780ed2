#include "json_scan.h"

namespace quillmere {
namespace {

constexpr auto kNone = std::string_view::npos;

// `\s` on bytes in the "C" locale, which the application's own locale must not change.
constexpr bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::size_t SkipSpace(std::string_view text, std::size_t at) {
  while (at < text.size() && IsSpace(text[at])) ++at;
  return at;
}

// Calls `read` with the position behind each `"key" :` from the left until one yields a value.
template <class Read>
auto FirstAfterKey(std::string_view text, std::string_view key, Read read) -> decltype(read(std::size_t{})) {
  std::string quotedKey(1, '"');
  quotedKey.append(key).append(1, '"');
  for (auto at = text.find(quotedKey); at != kNone; at = text.find(quotedKey, at + 1)) {
    const auto behind = BehindKeyAndColon(text, at, quotedKey);
    if (!behind) continue;
    if (const auto value = read(*behind)) return value;
  }
  return std::nullopt;
}

// The end of `((?:\\.|[^"])*)"` from `at`. The pattern takes a backslash and the next character together wherever a
// closing quote remains behind the two, and otherwise backs off to the backslash alone; `.` is no line end.
std::size_t EndOfValue(std::string_view text, std::size_t at, std::size_t lastQuote) {
  while (text[at] != '"') {
    const bool pair = text[at] == '\\' && at + 2 <= lastQuote && text[at + 1] != '\n' && text[at + 1] != '\r';
    at += pair ? 2 : 1;
  }
  return at;
}

std::string ReplaceEach(std::string_view text, std::string_view sequence, char replacement) {
  std::string result;
  result.reserve(text.size());
  std::size_t from = 0;
  for (auto at = text.find(sequence); at != kNone; at = text.find(sequence, from)) {
    result.append(text.substr(from, at - from)).append(1, replacement);
    from = at + sequence.size();
  }
  return result.append(text.substr(from));
}

std::string CollapseBackslashes(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    if (c != '\\' || result.empty() || result.back() != '\\') result += c;
  }
  return result;
}

}  // namespace

std::optional<std::size_t> BehindKeyAndColon(std::string_view text, std::size_t at, std::string_view quotedKey) {
  if (text.substr(at, quotedKey.size()) != quotedKey) return std::nullopt;
  const std::size_t colon = SkipSpace(text, at + quotedKey.size());
  if (colon == text.size() || text[colon] != ':') return std::nullopt;
  return SkipSpace(text, colon + 1);
}

std::optional<std::string_view> FindJsonString(std::string_view text, std::string_view key) {
  const auto lastQuote = text.rfind('"');
  return FirstAfterKey(text, key, [&](std::size_t at) -> std::optional<std::string_view> {
    if (at >= text.size() || text[at] != '"' || at == lastQuote) return std::nullopt;
    return text.substr(at + 1, EndOfValue(text, at + 1, lastQuote) - at - 1);
  });
}

std::optional<bool> FindJsonBool(std::string_view text, std::string_view key) {
  return FirstAfterKey(text, key, [&](std::size_t at) -> std::optional<bool> {
    if (text.substr(at, 4) == "true") return true;
    if (text.substr(at, 5) == "false") return false;
    return std::nullopt;
  });
}

std::string UndoJsonEscapes(std::string_view raw) {
  return ReplaceEach(CollapseBackslashes(ReplaceEach(raw, "\\\"", '"')), "\\n", '\n');
}

}  // namespace quillmere
