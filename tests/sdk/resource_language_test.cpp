#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "resource/resource_folder.h"
#include "resource/string_table.h"
#include "temporary_folder.h"

namespace quillmere::host::resource {
namespace {

namespace fs = std::filesystem;
using Labels = std::map<std::string, std::string>;

// The labels of a German user, where each table has a text for each letter; for a dash there is no table.
Labels labelsOf(const std::string& german, const std::string& english) {
  const TemporaryFolder folder;
  folder.write("c4d_symbols.h", "enum { NAME };");
  folder.write("strings_en-US/c4d_strings.str", "STRINGTABLE { NAME \"Name\"; }");
  folder.write("description/vpone.h", "enum { A = 1, B, C };");
  folder.write("description/vpone.res", "CONTAINER VPone { INCLUDE VPbase; }");
  for (const auto& [language, entries] : {std::pair("de-DE", german), std::pair("en-US", english)}) {
    std::string table = "STRINGTABLE VPone {";
    for (const char entry : entries) table += std::string(" ") + entry + " \"" + entry + " " + language + "\";";
    if (entries != "-") folder.write(std::string("strings_") + language + "/description/vpone.str", table + " }");
  }
  return ResourceFolder(folder.path(), "de-DE").description("VPone").labels;
}

TEST(ResourceLanguage, EachTextThatALanguageLacksIsTheEnglishOne) {
  const auto de = [](char c) { return std::pair(std::string(1, c), c + std::string(" de-DE")); };
  const auto en = [](char c) { return std::pair(std::string(1, c), c + std::string(" en-US")); };
  for (const auto& [german, english, expected] :
       std::vector<std::tuple<const char*, const char*, Labels>>{{"ABC", "ABC", {de('A'), de('B'), de('C')}},
                                                                 {"BC", "ABC", {en('A'), de('B'), de('C')}},
                                                                 {"AC", "ABC", {de('A'), en('B'), de('C')}},
                                                                 {"AB", "ABC", {de('A'), de('B'), en('C')}},
                                                                 {"", "ABC", {en('A'), en('B'), en('C')}},
                                                                 {"-", "AB", {en('A'), en('B')}},
                                                                 {"AB", "B", {de('A'), de('B')}},
                                                                 {"A", "-", {de('A')}}}) {
    SCOPED_TRACE(std::string(german) + "/" + english);
    EXPECT_EQ(labelsOf(german, english), expected);
  }
  EXPECT_THROW(labelsOf("-", "-"), Damage);
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
  EXPECT_THAT(names,
              testing::ElementsAre("Quillmere Renderer/Quillmere Renderer", "Quillmere-Renderer/Quillmere-Renderer"));
}

}  // namespace
}  // namespace quillmere::host::resource
