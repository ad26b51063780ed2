#include "naming.h"

#include <algorithm>
#include <string_view>

#include "base/utf8.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

constexpr std::size_t kLongest = 200;  // bytes

bool standsInIds(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("._-").find(c) != std::string_view::npos;
}

void require(bool kept, const std::string& what, const std::string& why, const std::string& remedy) {
  if (!kept) throw Failure(ExitStatus::Usage, what, why, remedy);
}

}  // namespace

void requireName(const std::string& name) {
  const std::string what = "name '" + name + "'", remedy = "give another name";
  requireUtf8(what, name);
  require(name.find_first_not_of(' ') != std::string::npos, what, "it is empty", remedy);
  require(name.front() != ' ' && name.back() != ' ', what, "it begins or ends with a blank", remedy);
  require(name.find_first_of("\"\\{}") == std::string::npos, what,
          "it holds a double quote, a backslash or a brace, which the list of workflows can't", remedy);
  require(printable(name) == name, what, "it holds a character that can't be shown", remedy);
  require(name.size() <= kLongest, what, "it is longer than 200 bytes", remedy);
  require(name != "None", what, "the menu has this for no workflow", remedy);
}

void requireId(const std::string& id) {
  const std::string what = "identifier '" + id + "'", remedy = "give another one with --id";
  require(!id.empty(), what, "it is empty", remedy);
  require(std::all_of(id.begin(), id.end(), standsInIds), what,
          "it holds something else than ASCII letters, digits, dots, hyphens and underscores", remedy);
  require(id.front() != '.', what, "it begins with a dot", remedy);
  require(id.size() <= kLongest, what, "it is longer than 200 bytes", remedy);
  require(id != "None", what, "the menu has this for no workflow", remedy);
}

std::string idFrom(const std::string& stem) {
  std::string id = stem;
  std::replace_if(
      id.begin(), id.end(), [](char c) { return !standsInIds(c); }, '-');
  const std::size_t first = id.find_first_not_of(".-");
  return first == std::string::npos ? "workflow" : id.substr(first, kLongest);
}

}  // namespace quillmere::app
