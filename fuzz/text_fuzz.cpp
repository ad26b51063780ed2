// The texts that other programs write for the module: each is read as a status, a response, the manager's state and the
// render view's state, and compared with what the patterns that the scanners stand for find.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <regex>
#include <string>

#include "bridge/json_scan.h"
#include "bridge/json_text.h"
#include "bridge/text.h"
#include "catalog/catalog_scan.h"

namespace quillmere {
namespace {

// Whether the standard engine can be asked in good time: it tries every way to pair backslashes with what follows them.
bool isForTheEngine(const std::string& text) {
  return text.size() <= 150 && std::count(text.begin(), text.end(), '\\') <= 12;
}

void expect(bool holds) {
  if (!holds) __builtin_trap();
}

void readCatalog(const std::string& text) {
  static const std::regex pattern(R"re(\{[^\{\}]*"id"\s*:\s*"([^"]+)"[^\{\}]*"name"\s*:\s*"([^"]+)"[^\{\}]*\})re");
  const auto found = ScanCatalog(text);
  if (!isForTheEngine(text)) return;
  auto match = std::sregex_iterator(text.begin(), text.end(), pattern);
  for (const CatalogMatch& one : found) {
    expect(match != std::sregex_iterator() && (*match)[1] == std::string(one.id) &&
           (*match)[2] == std::string(one.name));
    ++match;
  }
  expect(match == std::sregex_iterator());
}

void readTexts(const std::string& text) {
  static const std::regex pattern(R"re("message"\s*:\s*"((?:\\.|[^"])*)")re");
  const auto found = FindJsonString(text, "message");
  if (found) UndoJsonEscapes(*found);
  std::smatch match;
  if (!isForTheEngine(text)) return;
  expect(std::regex_search(text, match, pattern) == found.has_value());
  expect(!found || match[1] == std::string(*found));
}

void readBools(const std::string& text) {
  static const std::regex pattern(R"re("ok"\s*:\s*(true|false))re");
  const auto found = FindJsonBool(text, "ok");
  std::smatch match;
  if (!isForTheEngine(text)) return;
  expect(std::regex_search(text, match, pattern) == found.has_value());
  expect(!found || match[1] == (*found ? "true" : "false"));
}

// By way of the host's own texts, which end at a NUL and hold no invalid UTF-8.
void readAsHostText(const std::string& text) {
  const cinema::String whole = FromUtf8(text);
  const std::string again = ToUtf8(whole);
  expect(std::strlen(again.c_str()) == again.size());
  expect(ToUtf8(FromUtf8(again)) == again);
  // What is escaped and read again is the same, but for runs of backslashes.
  const std::string value = ToUtf8(ExtractJsonString(whole, "message"));
  const bool plain = value.find_first_of("\\\t\r") == std::string::npos;
  const std::string written = JsonLines().Add("message", FromUtf8(value)).Text();
  expect(!plain || ToUtf8(ExtractJsonString(FromUtf8(written), "message")) == value);
  ExtractJsonBool(whole, "ok", true);
}

}  // namespace
}  // namespace quillmere

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  quillmere::readCatalog(text);
  quillmere::readTexts(text);
  quillmere::readBools(text);
  quillmere::readAsHostText(text);
  return 0;
}
