#include "catalog/catalog_scan.h"

#include <gtest/gtest.h>

#include <regex>
#include <utility>

#include "random_text.h"

namespace quillmere {
namespace {

using namespace std::string_literals;
using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs scanned(const std::string& text) {
  Pairs pairs;
  for (const CatalogMatch& match : ScanCatalog(text)) pairs.emplace_back(match.id, match.name);
  return pairs;
}

Pairs regexMatches(const std::string& text) {
  static const std::regex pattern(R"re(\{[^\{\}]*"id"\s*:\s*"([^"]+)"[^\{\}]*"name"\s*:\s*"([^"]+)"[^\{\}]*\})re");
  Pairs pairs;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    pairs.emplace_back((*match)[1], (*match)[2]);
  }
  return pairs;
}

void expectSameMatches(RandomTexts texts, int count, unsigned longest) {
  std::size_t matches = 0;
  for (int i = 0; i < count; ++i) {
    const std::string text = texts.next(longest);
    const Pairs found = scanned(text);
    ASSERT_EQ(found, regexMatches(text)) << testing::PrintToString(text);
    matches += found.size();
  }
  EXPECT_GT(matches, unsigned(count) / 200) << "the texts hardly ever match, so the comparison says little";
}

TEST(CatalogScan, FindsWhatTheStandardEngineFindsAmongWholeMembers) {
  expectSameMatches({{"{", "}", "\"id\":\"a\"", "\"name\":\"b\"", "\"id\" : \"{c\"", "\"name\"\n:\t\"d}\"",
                      "\"id\":\"\"", "\"id\":\"", "\"name\":\"", "\"", ",", "{\"id\":\"e\",", "\"name\":\"f\"}"},
                     11},
                    500000, 14);
}

TEST(CatalogScan, FindsWhatTheStandardEngineFindsAmongLooseCharacters) {
  expectSameMatches({{"{", "}", "\"", "\"id\"", "\"name\"", ":", "\"id\":\"x", "\",\"name\":\"y", " ", "\n", "\\",
                      "\0"s, "\xC3", "z\"}"},
                     12},
                    500000, 18);
}

TEST(CatalogScan, TakesHostileTextsInItsStride) {
  const auto repeated = [](const std::string& piece) {
    std::string text;
    while (text.size() < (4u << 20)) text += piece;
    return text;
  };
  for (const std::string piece :
       {"\"id\":\"a\",\"name\":\"b\",", "{", "{\"", "\"id\":", "\"id\":\"", "{\"id\":\"a\",\"name\":\"",
        "\"name\":\"b\",", "{\"id\":\"{{\",", "{\"id\":\"a\",\"name\":\"b\"", "\"id\"\n", "{\"id\":\"}\"",
        "{\"id\":\"a\"{\"name\":\"b\""}) {
    SCOPED_TRACE(piece);
    EXPECT_LE(ScanCatalog("{" + repeated(piece)).size(), 1u);
  }
  const std::string whole = R"({"id":"a","name":"b"})";
  EXPECT_EQ(ScanCatalog(repeated(whole)).size(), repeated(whole).size() / whole.size());
}

}  // namespace
}  // namespace quillmere
