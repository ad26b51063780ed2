#include "bridge/json_scan.h"

#include <gtest/gtest.h>

#include <regex>

#include "random_text.h"

namespace quillmere {
namespace {

using namespace std::string_literals;

// Both answers to the same question, "none" where nothing is found.
template <class Find>
void compareWithRegex(const std::string& pattern, Find find) {
  const std::regex regex(pattern);
  RandomTexts texts({"\"", "\"",  "\\",   "\\\"", "\"k\"", "\"k\":\"", "\"k\":true", ":", " ", "\n", "\r",
                     "\v", "\0"s, "\xA0", "\xC3", "k",     "true",     "false",      "n", "{", "}",  ","},
                    unsigned(pattern.size()));
  for (int i = 0; i < 500000; ++i) {
    const std::string text = texts.next(14);
    std::smatch match;
    const std::string expected = std::regex_search(text, match, regex) ? "[" + match[1].str() + "]" : "none";
    ASSERT_EQ(find(text), expected) << testing::PrintToString(text);
  }
}

TEST(JsonScan, FindsWhatTheStandardEngineFinds) {
  compareWithRegex(R"re("k"\s*:\s*"((?:\\.|[^"])*)")re", [](const std::string& text) {
    const auto found = FindJsonString(text, "k");
    return found ? "[" + std::string(*found) + "]" : "none";
  });
  compareWithRegex(R"re("k"\s*:\s*(true|false))re", [](const std::string& text) {
    const auto found = FindJsonBool(text, "k");
    return std::string(found ? (*found ? "[true]" : "[false]") : "none");
  });
}

TEST(JsonScan, UndoesEscapesAsReplacementsThatAreSearchedAgainWould) {
  RandomTexts texts({"\\", "\\", "\"", "n", "x"}, 3);
  for (int i = 0; i < 100000; ++i) {
    const std::string text = texts.next(12);
    std::string expected = text;
    for (const auto& [sequence, by] : {std::pair{"\\\"", "\""}, {"\\\\", "\\"}, {"\\n", "\n"}}) {
      for (std::size_t at = 0; (at = expected.find(sequence, at)) != std::string::npos;) expected.replace(at, 2, by);
    }
    ASSERT_EQ(UndoJsonEscapes(text), expected) << text;
  }
}

// Texts on which a backtracking engine overflows its stack, takes exponential time or gives up.
TEST(JsonScan, TakesHostileTextsInItsStride) {
  const std::string escapes = repeated("\\\"", 8u << 20), heads = repeated("\"message\":\n ,", 8u << 20);
  EXPECT_EQ(FindJsonString("{\"message\":\"" + escapes, "message"), escapes.substr(0, escapes.size() - 1));
  EXPECT_EQ(FindJsonString("{\"message\":\"" + repeated("\\", 8u << 20), "message"), std::nullopt);
  EXPECT_EQ(FindJsonString(heads, "message"), std::nullopt);
  EXPECT_EQ(FindJsonBool(heads, "message"), std::nullopt);
  EXPECT_EQ(UndoJsonEscapes(escapes).size(), escapes.size() / 2);
}

}  // namespace
}  // namespace quillmere
