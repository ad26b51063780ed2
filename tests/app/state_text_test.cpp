#include "catalog/state_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <utility>

#include "base/utf8.h"
#include "catalog/catalog_scan.h"
#include "effect/state_entries.h"
#include "module/random_text.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

using Names = std::vector<std::string>;

Names idsIn(const std::string& text) {
  Names ids;
  for (const StateEntry& one : StateText(text, "state.json").listed()) ids.push_back(one.id + "=" + one.name);
  return ids;
}

TEST(StateText, FindsWhatTheEffectTakesForWorkflows) {
  const std::tuple<const char*, Names> rows[] = {
      {"", {}},
      {R"([])", {}},
      {R"({"id": "a", "name": "A"})", {"a=A"}},
      {"\xEF\xBB\xBF"
       R"([ {"id":"a" , "tags" : ["x", ["y"]], "name"
        :"A"}, {"x": {"id": "b", "name": "B"}}])",
       {"a=A", "b=B"}},
      {R"([{"name": "A", "id": "a"}, {"id": "", "name": "A"}, {"id": "a", "name": 5}, {"id": ["a"], "name": "A"}])",
       {}},
      {R"([{"id": "a", "name": "A", "meta": {}}, {"id": "a", "name": "A", "meta": [{}]}])", {}},
      {R"({"id": "a", "id": "b", "name": "A", "name": "B", "id": "c"})", {"b=B"}},
      {R"(["id", "name", {"x": "id", "id": "say \"a\"", "name": "caf\u00e9 \\"}])", {R"(say \=caf\u00e9 \\)"}},
  };
  for (const auto& [text, ids] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(idsIn(text), ids);
  }
}

using Edit = std::function<std::string(const StateText&)>;

const StateEntry kNew{"n", "N"};
const std::string kEntry = R"({"id": "n", "name": "N"})";
const Edit kAdd = [](const StateText& state) { return state.withAdded(kNew); };
const Edit kRename = [](const StateText& state) { return state.withName(1, "\xC3\xA9"); };
Edit removing(std::size_t index) {
  return [index](const StateText& state) { return state.without(index); };
}
Edit moving(std::size_t from, std::size_t to) {
  return [from, to](const StateText& state) { return state.withMoved(from, to); };
}

// Another program's file: its own keys, order, numbers, blanks, escapes and line ends.
std::string foreign(const std::string& first, const std::string& second, const std::string& third) {
  return "{\r\n\t\"version\": 1.50,\r\n\t\"workflows\": [\r\n\t\t" + first + ",\r\n\t\t" + second +
         " ,\r\n\t\t\"loose\", " + third + "\r\n\t],\r\n\t\"last\": {\"id\": 7}\r\n}";
}
const std::string kA = R"({"id":"a","name":"A","tags":["\u0041"]})", kB = R"({ "id": "b", "x": 1e2, "name": "B" })",
                  kC = R"({"id":"c","name":"C"})", kAll = foreign(kA, kB, kC);

std::string without(std::string text, const std::string& part) {
  return text.erase(text.find(part), part.size());
}

TEST(StateText, ChangesNothingElse) {
  const std::tuple<Edit, std::string, std::string> rows[] = {
      {kAdd, " \n", "{\n  \"workflows\": [\n    " + kEntry + "\n  ]\n}\n"},
      {kAdd, "{}", "{\n  \"workflows\": [" + kEntry + "]\n}"},
      {kAdd, "[]", "[" + kEntry + "]"},
      {kAdd, "{\n  \"workflows\": [],\n  \"z\": 1\n}",
       "{\n  \"workflows\": [\n    " + kEntry + "\n  ],\n  \"z\": 1\n}"},
      {kAdd, "{\n  \"z\": 1\n}\n", "{\n  \"z\": 1,\n  \"workflows\": [" + kEntry + "]\n}\n"},
      {kAdd, "{\"m\": [" + kC + "]}", "{\"m\": [" + kC + "," + kEntry + "]}"},
      {kAdd, "{\"workflows\": [" + kC + "], \"m\": [" + kA + "]}",
       "{\"workflows\": [" + kC + "," + kEntry + "], \"m\": [" + kA + "]}"},
      {kAdd, kAll, foreign(kA, kB, kC + ", " + kEntry)},
      {kRename, kAll, foreign(kA, "{ \"id\": \"b\", \"x\": 1e2, \"name\": \"\xC3\xA9\" }", kC)},
      {removing(0), kAll, without(kAll, kA + ",\r\n\t\t")},
      {removing(1), kAll, without(kAll, kB + " ,\r\n\t\t")},
      {removing(2), kAll, without(kAll, ", " + kC)},
      {removing(0), "{\"workflows\": [ " + kC + "\n]}", "{\"workflows\": []}"},
      {moving(0, 2), kAll, foreign(kB, kC, kA)},
      {moving(2, 0), kAll, foreign(kC, kA, kB)},
      {moving(1, 1), kAll, kAll},
  };
  for (const auto& [edit, text, expected] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(edit(StateText(text, "state.json")), expected);
  }
}

TEST(StateText, RefusesWhatItsFormDoesNotAllow) {
  const std::string member = "{\"workflows\": {\"c\": " + kC + "}}";
  const std::tuple<Edit, std::string, std::string> rows[] = {
      {kAdd, "{\"workflows\": [", "no JSON in UTF-8 from byte 16 on"},
      {kAdd, "[\"\xFF\"]", "no JSON"},
      {kAdd, "[1e999]", "too large"},
      {kAdd, std::string(200, '['), "nested more than 100 deep"},
      {kAdd, std::string((8U << 20U) + 1, ' '), "larger than 8 MiB"},
      {kAdd, "7", "neither an object nor a list"},
      {kAdd, "{\"workflows\": {}}", "\"workflows\" are no list"},
      {kAdd, "{\"workflows\": [{\"id\": \"a\", \"name\": \"A\", \"meta\": {}}]}",
       "a form that the effect doesn't read"},
      {kAdd, member, "'C' is no element of a list"},
      {removing(0), member, "'C' is no element of a list"},
      {moving(0, 1), "{\"m\": [" + kA + "], \"z\": [" + kB + "]}", "several lists"},
  };
  for (const auto& [edit, text, why] : rows) {
    SCOPED_TRACE(text.substr(0, 80));
    try {
      ADD_FAILURE() << edit(StateText(text, "state.json"));
    } catch (const Failure& failure) {
      EXPECT_NE(std::string(failure.what()).find("workflow list 'state.json': it"), std::string::npos);
      EXPECT_NE(std::string(failure.what()).find(why), std::string::npos) << failure.what();
    }
  }
}

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
