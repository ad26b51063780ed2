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

}  // namespace quillmere::app
