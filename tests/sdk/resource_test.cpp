#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "refusal.h"
#include "resource/resource_folder.h"
#include "temporary_folder.h"

namespace quillmere::host::resource {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

using Reader = std::function<void(const std::filesystem::path&)>;

void header(const std::filesystem::path& file) {
  Symbols symbols;
  readEnumHeader(file, symbols);
}
void table(const std::filesystem::path& file) {
  readStringTable(file);
}
void description(const std::filesystem::path& file) {
  readDescriptionResource(file);
}

std::string damageOf(const Reader& reader, const std::filesystem::path& file) {
  return refusalOf<Error>([&] { reader(file); });
}

TEST(EnumHeader, GivesExplicitAndImplicitValues) {
  const TemporaryFolder folder;
  Symbols symbols;
  readEnumHeader(
      folder.write("ids.h",
                   "\xEF\xBB\xBF#ifndef IDS_H__ // guard\n#define IDS_H__ \\\n 5\n"
                   "enum Ids\r\n{ /* a\n # comment */ ZERO, TEN = 10,ELEVEN, HEX = 0x7fffffff, LOW = -3, NEXT,\n"
                   "ALIAS = TEN, // , }\n ZERO = 0 };\n"
                   "enum\n{ // last\nLAST = 2147483647, }\n#endif"),
      symbols);
  EXPECT_THAT(symbols,
              ElementsAre(Pair("ALIAS", 10), Pair("ELEVEN", 11), Pair("HEX", 0x7fffffff), Pair("LAST", 0x7fffffff),
                          Pair("LOW", -3), Pair("NEXT", -2), Pair("TEN", 10), Pair("ZERO", 0)));
}

TEST(StringTable, ResolvesEscapesAndJoinsNeighbours) {
  const TemporaryFolder folder;
  const auto texts = readStringTable(
      folder.write("t.str", "// table\nSTRINGTABLE Name { A \"say \\\"#1\\\"\\n\" \"// \xC3\xA4\\\\\"; B \"\"; }\n"));
  EXPECT_THAT(texts, ElementsAre(Pair("A", "say \"#1\"\n// \xC3\xA4\\"), Pair("B", "")));
}

TEST(DamagedResource, IsNamedWithItsLine) {
  std::string deep = "CONTAINER D {\n";
  for (int i = 0; i < 100000; ++i) deep += "GROUP G {\n";
  const struct {
    Reader reader;
    std::string content, expected;
  } rows[] = {
      {header, "enum\n{\nA = 1,\n A = 2 };", ":4: this name stands for another number"},
      {header, "enum\n{\nA = 2147483647,\n B };", ":4: this entry's value"},
      {header, "enum\n{\nA = 99999999999999999999 };", ":3: expected a whole number of 32 bits"},
      {header, "enum\n{\nA = 1x };", ":3: expected a whole number"},
      {header, "enum\n{\nA = B };", ":3: expected a number or the name of an earlier entry"},
      {header, "\n\nclass X;", ":3: expected a plain enum"},
      {header, "enum {\n A };", ":1: the brace of an enum needs a line of its own"},
      {header, "\nenum Ids {\n A };", ":2: the brace of an enum"},
      {header, "enum\n{ A };", ":2: the brace of an enum"},
      {header, "enum class X { A };", "expected '{', found 'X'"},
      {header, "enum\n{\nA", "but the file ends"},
      {header, "enum { /* A };\n\n", ":1: this comment never ends"},
      {header, std::string("enum\n{\n\0 A };", 13), "the byte 0x00 has no meaning"},
      {table, "", "expected STRINGTABLE, but the file ends"},
      {table, "STRINGTABLE {\n\n A \"open\n\"; }", ":3: this text has no closing quote"},
      {table, "STRINGTABLE { A \"x\\q\"; }", ":1: an escape is one of"},
      {table, "STRINGTABLE { A \"x\\", ":1: an escape is one of"},
      {table, "STRINGTABLE { A \"x\"; A \"y\"; }", "has a text already"},
      {table, "STRINGTABLE { A \"x\"; } more", "expected nothing behind the table"},
      {description, "CONTAINER D { GROUP G {", "but the file ends"},
      {description, "CONTAINER D {\n GROUP A { DEFAULT 1 } }", ":2: expected ';'"},
      {description, "CONTAINER D { INCLUDE; }", "expected one name"},
      {description, deep, ":35: groups may lie in each other 32 levels deep"},
  };
  const TemporaryFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.content.substr(0, 60));
    const auto file = folder.write("damaged", row.content);
    const std::string damage = damageOf(row.reader, file);
    EXPECT_THAT(damage, HasSubstr(row.expected));
    EXPECT_THAT(damage, HasSubstr(file.string()));
  }
  for (const Reader& reader : {Reader(header), Reader(table), Reader(description)}) {
    EXPECT_THAT(damageOf(reader, folder / "none"), HasSubstr("there is no such file"));
    EXPECT_THAT(damageOf(reader, folder.path()), HasSubstr(": it is not a regular file"));
  }
}

TEST(ResourceLanguage, EachTextThatALanguageLacksIsTheEnglishOne) {
  const TemporaryFolder folder;
  folder.write("c4d_symbols.h", "enum\n{\nA, B };");
  folder.write("strings_en-US/c4d_strings.str", "STRINGTABLE { A \"a\"; B \"b\"; }");
  folder.write("strings_de-DE/c4d_strings.str", "STRINGTABLE { B \"B\"; }");
  const ResourceFolder german(folder.path(), "de-DE");
  EXPECT_THAT(german.texts(), ElementsAre(Pair(0, "a"), Pair(1, "B")));
  EXPECT_THROW(german.description("../description/A"), Error) << "a name that leads out of the folder";
}

// Every table below a language's folder with the symbols it has a text for.
std::map<fs::path, std::set<std::string>> tablesOf(const fs::path& language) {
  std::map<fs::path, std::set<std::string>> tables;
  for (const auto& entry : fs::recursive_directory_iterator(language)) {
    if (!entry.is_regular_file()) continue;
    auto& symbols = tables[entry.path().lexically_relative(language)];
    for (const auto& [symbol, text] : readStringTable(entry.path())) {
      EXPECT_FALSE(text.empty()) << entry.path() << " " << symbol;
      symbols.insert(symbol);
    }
  }
  return tables;
}

TEST(ResourceLanguage, TheProductsLanguagesHaveTheSameTexts) {
  const fs::path folder = QM_RES_FOLDER;
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("strings_", 0) != 0) continue;
    SCOPED_TRACE(name);
    EXPECT_EQ(tablesOf(entry.path()), tablesOf(folder / "strings_en-US"));
    const ResourceFolder read(folder, name.substr(8));
    names.insert(read.texts().at(10000) + "/" + read.description("VPquillmere").labels.at("VPquillmere"));
  }
  EXPECT_THAT(names, ElementsAre("Quillmere Renderer/Quillmere Renderer", "Quillmere-Renderer/Quillmere-Renderer"));
}

}  // namespace
}  // namespace quillmere::host::resource
