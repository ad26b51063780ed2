#include "state_entries.h"

#include <algorithm>

#include "base/utf8.h"

namespace quillmere::app {
namespace {

enum class Reading { Entry, Nothing, Doubt };

std::string valid(std::string_view text) {
  return encodeUtf8(decodeUtf8(text));
}

// What stands between two quoted texts: blanks, commas, colons, brackets, numbers and the three plain words of JSON.
bool isPlain(std::string_view text) {
  constexpr std::string_view kPlain = " \t\r\n,:[]+-.0123456789Eaeflnrstu";
  return text.find_first_not_of(kPlain) == std::string_view::npos;
}

bool isColon(std::string_view text) {
  const std::size_t colon = text.find_first_not_of(" \t\r\n");
  return colon != std::string_view::npos && text.find_last_not_of(" \t\r\n") == colon && text[colon] == ':';
}

// Reads what stands behind an opening brace up to the next brace, which `closes` the object or opens another.
Reading read(std::string_view object, bool closes, StateEntry& entry) {
  std::vector<std::string_view> parts;  // plain, quoted, plain, quoted, …
  for (std::size_t at = 0; at <= object.size();) {
    const std::size_t quote = std::min(object.find('"', at), object.size());
    parts.push_back(object.substr(at, quote - at));
    at = quote + 1;
  }
  if (parts.size() % 2 == 0) return Reading::Doubt;  // a text that goes on behind the brace
  std::vector<std::string_view> ids, names;
  for (std::size_t at = 0; at < parts.size(); ++at) {
    const bool quoted = at % 2 == 1;
    if (!quoted && !isPlain(parts[at])) return Reading::Doubt;
    if (!quoted || !isColon(parts[at + 1])) continue;
    if (isColon(parts[at - 1])) return Reading::Doubt;  // key and value at once
    if (at + 2 >= parts.size() || parts[at + 2].empty()) continue;
    if (parts[at] == "id") ids.push_back(parts[at + 2]);
    if (parts[at] == "name" && !ids.empty()) names.push_back(parts[at + 2]);
  }
  if (!closes || names.empty()) return Reading::Nothing;
  if (ids.size() > 1 || names.size() > 1) return Reading::Doubt;
  entry = {valid(ids.front()), valid(names.front())};
  return Reading::Entry;
}

}  // namespace

std::optional<std::vector<StateEntry>> stateEntries(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return {};
  std::vector<StateEntry> entries;
  for (std::size_t open = text.find('{'); open != std::string_view::npos; open = text.find('{', open + 1)) {
    const std::size_t brace = std::min(text.find_first_of("{}", open + 1), text.size());
    const bool closes = brace < text.size() && text[brace] == '}';
    StateEntry entry;
    const Reading reading = read(text.substr(open + 1, brace - open - 1), closes, entry);
    if (reading == Reading::Doubt) return {};
    if (reading == Reading::Entry) entries.push_back(std::move(entry));
  }
  return entries;
}

}  // namespace quillmere::app
