#include <gmock/gmock.h>
#include <sys/stat.h>

#include <climits>
#include <iterator>
#include <regex>
#include <sstream>

#include "bridge/json_scan.h"
#include "bridge/text_file.h"
#include "catalog/catalog_scan.h"
#include "catalog/manager_files.h"
#include "catalog/workflow_catalog.h"
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

std::string matchesIn(const std::string& text, const std::regex& pattern, int most) {
  std::string all;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end && most-- > 0; ++match) {
    for (std::size_t group = 1; group < match->size(); ++group) all += "[" + (*match)[group].str() + "]";
  }
  return all;
}

// Both answers to the same question: the groups of the first matches, each in brackets.
template <class Find>
void compareWithRegex(const std::string& pattern, int most, RandomTexts texts, unsigned longest, Find find) {
  const std::regex regex(pattern);
  int matching = 0;
  for (int i = 0; i < 500000; ++i) {
    const std::string text = texts.next(longest), expected = matchesIn(text, regex, most);
    ASSERT_EQ(find(text), expected) << testing::PrintToString(text);
    matching += expected.empty() ? 0 : 1;
  }
  EXPECT_GT(matching, 2500) << "texts that hardly ever match say little";
}

TEST(JsonScan, FindsWhatTheStandardEngineFinds) {
  const std::vector<std::string> pieces{"\"",   "\"",    "\\", "\\\"", "\"k\"", "\"k\":\"", "\"k\":true", ":",
                                        " ",    "\n",    "\r", "\v",   "\0"s,   "\xA0",     "\xC3",       "k",
                                        "true", "false", "n",  "{",    "}",     ","};
  compareWithRegex(R"re("k"\s*:\s*"((?:\\.|[^"])*)")re", 1, {pieces, 27}, 14, [](const std::string& text) {
    const auto found = FindJsonString(text, "k");
    return found ? "[" + std::string(*found) + "]" : "";
  });
  compareWithRegex(R"re("k"\s*:\s*(true|false))re", 1, {pieces, 23}, 14, [](const std::string& text) {
    const auto found = FindJsonBool(text, "k");
    return std::string(found ? (*found ? "[true]" : "[false]") : "");
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

TEST(CatalogScan, FindsWhatTheStandardEngineFinds) {
  const std::string whole =
      "{ } , \" \"id\":\"a\" \"name\":\"b\" \"id\":\"{c\" \"name\":\"d}\" \"id\":\"\" \"id\":\" \"name\":\" "
      "{\"id\":\"e\", \"name\":\"f\"}";
  std::istringstream words(whole);
  const RandomTexts ofWords({std::istream_iterator<std::string>(words), {}}, 11);
  const RandomTexts ofPieces({"{", "}", "\"", "\"id\"", "\"name\"", ":", "\"id\":\"x", "\",\"name\":\"y", " ", "\n",
                              "\\", "\0"s, "\xC3", "z\"}"},
                             12);
  for (const auto& [texts, longest] : {std::pair(ofWords, 14U), {ofPieces, 18U}}) {
    const std::string pattern = R"re(\{[^\{\}]*"id"\s*:\s*"([^"]+)"[^\{\}]*"name"\s*:\s*"([^"]+)"[^\{\}]*\})re";
    compareWithRegex(pattern, INT_MAX, texts, longest, [](const std::string& text) {
      std::string all;
      for (const CatalogMatch& match : ScanCatalog(text))
        all += "[" + std::string(match.id) + "][" + std::string(match.name) + "]";
      return all;
    });
  }
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
