#include "bridge/json_scan.h"

#include <gtest/gtest.h>

#include <regex>

#include "random_text.h"

namespace quillmere {
namespace {

using namespace std::string_literals;

template <class Found>
std::string shown(const Found& found) {
  return found ? "[" + std::string(*found) + "]" : "none";
}

std::string regexCapture(const std::regex& pattern, const std::string& text) {
  std::smatch match;
  return std::regex_search(text, match, pattern) ? "[" + match[1].str() + "]" : "none";
}

RandomTexts textsAround(const std::string& key, unsigned seed) {
  return {{"\"",
           "\"",
           "\\",
           "\\\"",
           "\"" + key + "\"",
           "\"" + key + "\":\"",
           "\"" + key + "\":true",
           ":",
           " ",
           "\n",
           "\r",
           "\v",
           "\0"s,
           "\xA0",
           "\xC3",
           key,
           "true",
           "false",
           "n",
           "{",
           "}",
           ","},
          seed};
}

TEST(JsonScan, FindsTheStringThatTheStandardEngineFinds) {
  const std::regex pattern(R"re("k"\s*:\s*"((?:\\.|[^"])*)")re");
  RandomTexts texts = textsAround("k", 1);
  for (int i = 0; i < 600000; ++i) {
    const std::string text = texts.next(14);
    ASSERT_EQ(shown(FindJsonString(text, "k")), regexCapture(pattern, text)) << testing::PrintToString(text);
  }
}

TEST(JsonScan, FindsTheTruthValueThatTheStandardEngineFinds) {
  const std::regex pattern(R"re("ok"\s*:\s*(true|false))re");
  RandomTexts texts = textsAround("ok", 2);
  for (int i = 0; i < 300000; ++i) {
    const std::string text = texts.next(12);
    const auto found = FindJsonBool(text, "ok");
    ASSERT_EQ(found ? (*found ? "[true]" : "[false]") : "none", regexCapture(pattern, text))
        << testing::PrintToString(text);
  }
}

TEST(JsonScan, UndoesEscapesAsThreeRepeatedReplacementsWould) {
  const auto replaceFromReplacement = [](std::string text, const std::string& sequence, const std::string& by) {
    for (auto at = text.find(sequence); at != std::string::npos; at = text.find(sequence, at)) {
      text.replace(at, sequence.size(), by);
    }
    return text;
  };
  RandomTexts texts({"\\", "\\", "\"", "n", "t", "x"}, 3);
  for (int i = 0; i < 100000; ++i) {
    const std::string text = texts.next(12);
    std::string expected = replaceFromReplacement(text, "\\\"", "\"");
    expected = replaceFromReplacement(replaceFromReplacement(expected, "\\\\", "\\"), "\\n", "\n");
    ASSERT_EQ(UndoJsonEscapes(text), expected) << text;
  }
}

// Texts on which a backtracking engine overflows its stack, takes exponential time or gives up.
TEST(JsonScan, TakesHostileTextsInItsStride) {
  std::string escapes;
  while (escapes.size() < (8u << 20)) escapes += "\\\"";
  const std::string heads = [] {
    std::string text;
    while (text.size() < (8u << 20)) text += "\"message\":\n ,";
    return text;
  }();
  EXPECT_EQ(FindJsonString("{\"message\":\"" + escapes + "\"", "message"), escapes);
  EXPECT_EQ(FindJsonString("{\"message\":\"" + escapes, "message"), escapes.substr(0, escapes.size() - 1));
  EXPECT_EQ(FindJsonString("{\"message\":\"" + std::string(8u << 20, '\\'), "message"), std::nullopt);
  EXPECT_EQ(FindJsonString(heads, "message"), std::nullopt);
  EXPECT_EQ(FindJsonBool(heads, "message"), std::nullopt);
  EXPECT_EQ(UndoJsonEscapes(escapes).size(), escapes.size() / 2);
}

}  // namespace
}  // namespace quillmere
