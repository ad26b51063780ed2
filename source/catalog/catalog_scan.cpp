#include "catalog_scan.h"

#include <cstddef>
#include <optional>

#include "../bridge/json_scan.h"

// A run is a stretch without braces, from behind one brace up to the next (or to the end of the text). The pattern's
// free parts stay within one run; only a quoted value may cross into a later one, and it then lands behind the first
// quote that follows its own run. So each run is the own run of at most one opening brace and the landing run of at
// most one value of either kind, which is what keeps the whole scan linear.
namespace quillmere {
namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kIdKey = "\"id\"";
constexpr std::string_view kNameKey = "\"name\"";

std::size_t EndOfRun(std::string_view text, std::size_t at) {
  while (at < text.size() && text[at] != '{' && text[at] != '}') ++at;
  return at;
}

struct Member {
  std::string_view value;
  std::size_t behind;  // the position after the value's closing quote
};

// `"key"\s*:\s*"([^"]+)"` at `at`.
std::optional<Member> MemberAt(std::string_view text, std::size_t at, std::string_view quotedKey) {
  const auto open = BehindKeyAndColon(text, at, quotedKey);
  if (!open || *open >= text.size() || text[*open] != '"') return std::nullopt;
  const std::size_t first = *open + 1;
  const std::size_t close = text.find('"', first);
  if (close == kNone || close == first) return std::nullopt;
  return Member{text.substr(first, close - first), close + 1};
}

struct Name {
  std::size_t at;
  std::string_view value;
  std::size_t objectEnd;  // the position after the object's closing brace
};

// The last "name" in the rest [begin, end) of a run from which the pattern matches to its end.
std::optional<Name> LastName(std::string_view text, std::size_t begin, std::size_t end) {
  std::optional<Name> last;
  const std::string_view run = text.substr(0, end);
  for (auto at = run.find(kNameKey, begin); at != kNone; at = run.find(kNameKey, at + 1)) {
    const auto member = MemberAt(text, at, kNameKey);
    if (!member) continue;
    const std::size_t brace = member->behind <= end ? end : EndOfRun(text, member->behind);
    if (brace < text.size() && text[brace] == '}') last = Name{at, member->value, brace + 1};
  }
  return last;
}

struct Entry {
  CatalogMatch match;
  std::size_t end;
};

// The match of an opening brace whose own run is [begin, end): the last "id" that a fitting "name" follows.
std::optional<Entry> EntryInRun(std::string_view text, std::size_t begin, std::size_t end) {
  std::optional<Entry> last;
  const auto ownName = LastName(text, begin, end);
  const std::string_view run = text.substr(0, end);
  for (auto at = run.find(kIdKey, begin); at != kNone; at = run.find(kIdKey, at + 1)) {
    const auto member = MemberAt(text, at, kIdKey);
    if (!member) continue;
    const bool crosses = member->behind > end;
    const auto name = crosses ? LastName(text, member->behind, EndOfRun(text, member->behind)) : ownName;
    if (name && name->at >= member->behind) last = Entry{{member->value, name->value}, name->objectEnd};
  }
  return last;
}

}  // namespace

std::vector<CatalogMatch> ScanCatalog(std::string_view text) {
  std::vector<CatalogMatch> matches;
  for (auto open = text.find('{'); open != kNone;) {
    const std::size_t end = EndOfRun(text, open + 1);
    const auto entry = EntryInRun(text, open + 1, end);
    if (entry) matches.push_back(entry->match);
    open = text.find('{', entry ? entry->end : end);
  }
  return matches;
}

}  // namespace quillmere
