#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "refusal.h"
#include "resource/resource_folder.h"
#include "resource/string_table.h"
#include "temporary_folder.h"

namespace quillmere::host::resource {
namespace {

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
  return refusalOf<Damage>([&] { reader(file); });
}

TEST(EnumHeader, GivesExplicitAndImplicitValues) {
  const TemporaryFolder folder;
  Symbols symbols;
  readEnumHeader(
      folder.write("ids.h",
                   "\xEF\xBB\xBF#ifndef IDS_H__ // guard\n#define IDS_H__ \\\n 5\n"
                   "enum Ids\r\n{ /* a\n # comment */ ZERO, TEN = 10,ELEVEN, HEX = 0x7fffffff, LOW = -3, NEXT,\n"
                   "ALIAS = TEN, // , }\n ZERO = 0 };\n"
                   "enum { LAST = 2147483647, }\n#endif"),
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
      {header, "enum { A = 1,\n A = 2 };", ":2: this name stands for another number"},
      {header, "enum { A = 2147483647,\n B };", ":2: this entry's value"},
      {header, "enum { A = 99999999999999999999 };", ":1: expected a whole number of 32 bits"},
      {header, "enum { A = 1x };", ":1: expected a whole number"},
      {header, "enum { A = B };", ":1: expected a number or the name of an earlier entry"},
      {header, "\n\nclass X;", ":3: expected a plain enum"},
      {header, "enum class X { A };", "expected '{', found 'X'"},
      {header, "enum { A", "but the file ends"},
      {header, "enum { /* A };\n\n", ":1: this comment never ends"},
      {header, std::string("enum {\0 A };", 12), "the byte 0x00 has no meaning"},
      {table, "", "expected STRINGTABLE, but the file ends"},
      {table, "STRINGTABLE {\n\n A \"open\n\"; }", ":3: this text has no closing quote"},
      {table, "STRINGTABLE { A \"x\\q\"; }", ":1: an escape is one of"},
      {table, "STRINGTABLE { A \"x\\", ":1: an escape is one of"},
      {table, "STRINGTABLE { A \"x\"; A \"y\"; }", "has a text already"},
      {table, "STRINGTABLE { A \"x\"; } more", "expected nothing behind the table"},
      {description, "CONTAINER D { GROUP G {", "but the file ends"},
      {description, "CONTAINER D {\n LONG A { MIN 1 } }", ":2: expected ';'"},
      {description, "CONTAINER D { INCLUDE; }", "expected one name"},
      {description, "CONTAINER D { LONG A { CYCLE { X Y; } } }", "expected ';', found 'Y'"},
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
    EXPECT_THAT(damageOf(reader, folder.path()), HasSubstr("there is no such file"));
  }
}

}  // namespace
}  // namespace quillmere::host::resource
