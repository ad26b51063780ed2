#include "catalog/catalog_scan.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <sstream>

#include "random_text.h"

namespace quillmere {
namespace {

using namespace std::string_literals;
using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs regexMatches(const std::string& text) {
  static const std::regex pattern(R"re(\{[^\{\}]*"id"\s*:\s*"([^"]+)"[^\{\}]*"name"\s*:\s*"([^"]+)"[^\{\}]*\})re");
  Pairs pairs;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    pairs.emplace_back((*match)[1], (*match)[2]);
  }
  return pairs;
}

void compareWithRegex(RandomTexts texts, unsigned longest) {
  std::size_t matches = 0;
  for (int i = 0; i < 500000; ++i) {
    const std::string text = texts.next(longest);
    Pairs pairs;
    for (const CatalogMatch& match : ScanCatalog(text)) pairs.emplace_back(match.id, match.name);
    ASSERT_EQ(pairs, regexMatches(text)) << testing::PrintToString(text);
    matches += pairs.size();
  }
  EXPECT_GT(matches, 2500u) << "texts that hardly ever match say little";
}

TEST(CatalogScan, FindsWhatTheStandardEngineFinds) {
  const std::string whole =
      "{ } , \" \"id\":\"a\" \"name\":\"b\" \"id\":\"{c\" \"name\":\"d}\" \"id\":\"\" \"id\":\" \"name\":\" "
      "{\"id\":\"e\", \"name\":\"f\"}";
  std::istringstream words(whole);
  compareWithRegex({{std::istream_iterator<std::string>(words), {}}, 11}, 14);
  compareWithRegex({{"{", "}", "\"", "\"id\"", "\"name\"", ":", "\"id\":\"x", "\",\"name\":\"y", " ", "\n", "\\", "\0"s,
                     "\xC3", "z\"}"},
                    12},
                   18);
}

TEST(CatalogScan, TakesHostileTextsInItsStride) {
  for (const std::string piece :
       {R"("id":"a","name":"b",)", "{", "{\"", R"("id":)", R"("id":")", R"({"id":"a","name":")", R"("name":"b",)",
        R"({"id":"{{",)", R"({"id":"a","name":"b")", "\"id\"\n", R"({"id":"}")", R"({"id":"a"{"name":"b")"}) {
    EXPECT_LE(ScanCatalog("{" + repeated(piece, 4u << 20)).size(), 1u) << piece;
  }
  const std::string flat = R"({"id":"a","name":"b"})";
  EXPECT_EQ(ScanCatalog(repeated(flat, 4u << 20)).size(), (4u << 20) / flat.size() + 1);
}

}  // namespace
}  // namespace quillmere
