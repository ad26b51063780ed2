#include "texts.h"

#include <algorithm>

#include "base/utf8.h"
#include "failure.h"

namespace quillmere::app {
namespace {

char lowered(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool alike(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lowered(x) == lowered(y); });
}

constexpr std::size_t kLongestCompared = 80;  // bytes

// How many letters have to be put in, left out, replaced or swapped with the next.
std::size_t slips(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = lowered(a[i - 1]) == lowered(b[j - 1]);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      const bool swapped =
          i > 1 && j > 1 && lowered(a[i - 1]) == lowered(b[j - 2]) && lowered(a[i - 2]) == lowered(b[j - 1]);
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    std::swap(before, last);
    std::swap(last, row);
  }
  return last[b.size()];
}

}  // namespace

void requireUtf8(const std::string& what, std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    throw Failure(ExitStatus::Usage, what, "its text holds a NUL character", "remove the character");
  }
  if (isUtf8(text)) return;
  throw Failure(ExitStatus::Usage, what, "its text is not UTF-8", "write it in UTF-8, or name the file otherwise");
}

std::string listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "'" : ", '") + name + "'";
  return list.empty() ? "none" : list;
}

std::optional<std::size_t> indexOfName(const std::vector<std::string>& names, std::string_view wanted) {
  const auto same = std::find(names.begin(), names.end(), wanted);
  if (same != names.end()) return static_cast<std::size_t>(same - names.begin());
  const auto first = std::find_if(names.begin(), names.end(), [&](const auto& name) { return alike(name, wanted); });
  if (first == names.end()) return {};
  const bool only = std::none_of(first + 1, names.end(), [&](const auto& name) { return alike(name, wanted); });
  return only ? std::optional(static_cast<std::size_t>(first - names.begin())) : std::nullopt;
}

std::string nearestName(const std::vector<std::string>& names, std::string_view wanted) {
  std::string nearest;
  std::size_t fewest = std::max<std::size_t>(wanted.size() / 3, 1) + 1;
  for (const std::string& name : names) {
    if (name.size() > kLongestCompared || wanted.size() > kLongestCompared) continue;
    const std::size_t found = slips(name, wanted);
    if (found >= fewest) continue;
    fewest = found;
    nearest = name;
  }
  return nearest;
}

std::string suggestion(const std::vector<std::string>& names, std::string_view wanted) {
  const std::string nearest = nearestName(names, wanted);
  return nearest.empty() ? "" : "did you mean '" + nearest + "'? ";
}

}  // namespace quillmere::app
