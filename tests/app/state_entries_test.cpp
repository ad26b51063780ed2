#include "effect/state_entries.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/utf8.h"
#include "catalog/catalog_scan.h"
#include "module/random_text.h"

namespace quillmere::app {
namespace {

using namespace std::string_literals;
using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairsOf(const std::vector<StateEntry>& entries) {
  Pairs pairs;
  for (const auto& [id, name] : entries) pairs.emplace_back(id, name);
  return pairs;
}

// As the module reads it.
Pairs scanned(const std::string& text) {
  const auto valid = [](std::string_view part) { return encodeUtf8(decodeUtf8(part)); };
  Pairs pairs;
  for (const CatalogMatch& match : ScanCatalog(text)) pairs.emplace_back(valid(match.id), valid(match.name));
  return pairs;
}

TEST(StateEntries, AreThoseOfTheModuleOrLeftToIt) {
  RandomTexts texts{{"{", "}", "\"", "\"id\"", "\"name\"", ":", "\"id\":\"a\"", ",\"name\":\"b\"", "\"n\":[1]", ",",
                     " ", "\\", "{\"id\": \"c\",", "\"name\" : \"d\"}", "\xC3", "\0"s},
                    21};
  std::size_t found = 0;
  for (int i = 0; i < 300000; ++i) {
    const std::string text = texts.next(12);
    const auto entries = stateEntries(text);
    if (!entries) continue;
    ASSERT_EQ(pairsOf(*entries), scanned(text)) << testing::PrintToString(text);
    found += entries->size();
  }
  EXPECT_GT(found, 2500U) << "texts that hardly ever hold an entry say little";
}

TEST(StateEntries, AreReadWhereManagersWriteThem) {
  const std::string indented =
      "{\n  \"version\": 2,\n  \"workflows\": [\n    {\n      \"id\": \"ink\",\n      \"on\": true,\n"
      "      \"name\": \"Ink \\u00e9\"\n    },\n    {\"id\": \"b\", \"name\": \"B\", \"tags\": [\"x\"]}\n  ]\n}\n";
  const std::pair<std::string, Pairs> rows[] = {
      {indented, {{"ink", "Ink \\u00e9"}, {"b", "B"}}},
      {R"({"name": "later", "id": "first"})", {}},
      {R"({"id": "nested", "name": "N", "size": {"w": 1}})", {}},
      {R"({"id": 7, "name": "N"})", {}},
      {"", {}},
  };
  for (const auto& [text, pairs] : rows) {
    const auto entries = stateEntries(text);
    ASSERT_TRUE(entries) << text;
    EXPECT_EQ(pairsOf(*entries), pairs) << text;
  }
}

}  // namespace
}  // namespace quillmere::app
