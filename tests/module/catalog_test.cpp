#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <sstream>

#include "catalog/catalog_scan.h"
#include "catalog/manager_files.h"
#include "catalog/workflow_catalog.h"
#include "host_case.h"
#include "random_text.h"

namespace quillmere {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Catalog : HostCase {
  Lines read() const {
    Lines texts;
    for (const WorkflowEntry& entry : LoadManagerWorkflows()) texts.push_back(ToUtf8(entry.id + "=" + entry.name));
    return texts;
  }
  const std::filesystem::path present = home / ".quillmere/state.json", legacy = home / ".tallowcrest/state.json";
};

TEST_F(Catalog, PrefersThePresentStateFileToTheLegacyOne) {
  EXPECT_THAT(read(), IsEmpty());
  write(legacy, R"({"id":"old","name":"Old"})");
  EXPECT_THAT(read(), ElementsAre("old=Old"));
  write(present, "");
  EXPECT_THAT(read(), IsEmpty()) << "an empty file counts as present";
}

TEST_F(Catalog, ReadsFlatObjectsInFileOrderAsTheyStand) {
  write(present,
        std::string(20000, ' ') +
            R"({"workflows": [{"id": "b", "tags": ["x", "y"], "name": "Zwölf \u00e9"}, {"id": "", "name": "No"},
    {"name": "No", "id": "order"}, {"id": "nested", "name": "No", "x": {}}, {"id": "b", "name": "say \"hi\""}]})");
  EXPECT_THAT(read(), ElementsAre("b=Zwölf \\u00e9", "b=say \\"));
}

TEST_F(Catalog, IsEmptyWhereTheStateFileIsAFolderOrThereIsNoHome) {
  create_directories(legacy);
  EXPECT_THAT(read(), IsEmpty());
  unsetenv("HOME");
  EXPECT_EQ(ToUtf8(GetStateFile().GetString()), ".tallowcrest/state.json");
  EXPECT_THAT(read(), IsEmpty());
}

TEST(PreferredWorkflow, IsTheFirstThatMentionsTheModelElseTheFirst) {
  using Texts = std::vector<std::pair<const char*, const char*>>;
  for (const auto& [texts, selection] :
       std::vector<std::pair<Texts, int>>{{{}, 0},
                                          {{{"a", "A"}, {"b", "Flux 2"}}, 1},
                                          {{{"a", "A"}, {"b", "É FLUX.2 Dev"}, {"flux2", "C"}}, 2},
                                          {{{"a", "A"}, {"b", "B"}, {"Flux2-Fill", "C"}}, 3}}) {
    std::vector<WorkflowEntry> workflows;
    for (const auto& [id, name] : texts) workflows.push_back({id, name});
    EXPECT_EQ(FindPreferredWorkflowSelection(workflows), selection) << testing::PrintToString(texts);
  }
}

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
