#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "resource/resource_folder.h"
#include "resource/string_table.h"
#include "temporary_folder.h"

namespace quillmere::host::resource {
namespace {

namespace fs = std::filesystem;
TEST(ResourceLanguage, EachTextThatALanguageLacksIsTheEnglishOne) {
  const TemporaryFolder folder;
  folder.write("c4d_symbols.h", "enum { A, B };");
  folder.write("strings_en-US/c4d_strings.str", "STRINGTABLE { A \"a\"; B \"b\"; }");
  folder.write("strings_de-DE/c4d_strings.str", "STRINGTABLE { B \"B\"; }");
  const ResourceFolder german(folder.path(), "de-DE");
  EXPECT_THAT(german.texts(), testing::ElementsAre(testing::Pair(0, "a"), testing::Pair(1, "B")));
  EXPECT_THROW(german.description("../description/A"), Damage) << "a name that leads out of the folder";
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
