#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "bridge/json_scan.h"
#include "bridge/text_file.h"
#include "host_case.h"
#include "random_text.h"

namespace quillmere {
namespace {

using namespace std::string_literals;

using TextFile = HostCase;

TEST_F(TextFile, IsReadUpToItsFirstNulAndWrittenWholeOrElseRefused) {
  const auto named = [&](const char* name) { return host::filenameOf(folder / name); };
  write(folder / "file", "before the NUL\0after"s);
  EXPECT_EQ(ToUtf8(ReadTextFile(named("file"))), "before the NUL");
  EXPECT_TRUE(WriteTextFile(named("file"), "short\0er"s));
  EXPECT_EQ(contentOf(folder / "file"), "short\0er"s);
  for (const cinema::Filename& none : {named("none/file"), named("bin"), cinema::Filename()}) {
    EXPECT_EQ(ToUtf8(ReadTextFile(none)), "");
    EXPECT_FALSE(WriteTextFile(none, "x"));
  }
  EXPECT_FALSE(exists(folder / "none"));
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(WriteTextFile(named("pipe"), "x")) << "nobody reads it";
  for (const cinema::Filename& endless : {named("pipe"), cinema::Filename("/dev/zero")}) {
    EXPECT_EQ(ToUtf8(ReadTextFile(endless)), "");
  }
  const std::string large(100000, 'x');
  write(folder / "large", large);
  EXPECT_EQ(ToUtf8(ReadTextFile(named("large"))), large);
  EXPECT_FALSE(WriteTextFile(cinema::Filename("/dev/full"), large)) << "or there is no such device";
}

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
