#include <gtest/gtest.h>

#include <vector>

#include "c4d.h"
#include "core/text.h"
#include "temporary_folder.h"

namespace quillmere::host {
namespace {

using namespace cinema;

TEST(Text, Utf8GoesThroughUnchangedAndEachOffendingByteBecomesOneMark) {
  const auto marks = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "\xEF\xBF\xBD";
    return text;
  };
  const struct {
    const char* given;
    std::string kept;
  } rows[] = {
      {"", ""},
      {"plain", "plain"},
      {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA8", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA8"},
      {"a\xFFz", "a" + marks(1) + "z"},
      {"cut \xE2\x82", "cut " + marks(2)},
      {"\xE2\x82z", marks(2) + "z"},
      {"\xC0\xAF", marks(2)},                                            // overlong
      {"\xE0\x80\xAF", marks(3)},                                        // overlong
      {"\xED\xA0\x80", marks(3)},                                        // surrogate
      {"\xF4\x90\x80\x80", marks(4)},                                    // above U+10FFFF
      {"\xF4\x8F\xBF\xBF\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF\xEF\xBF\xBF"},  // the last ones there are
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.given);
    for (const STRINGENCODING encoding : {STRINGENCODING::XBIT, STRINGENCODING::UTF8}) {
      const String text(row.given, encoding);
      EXPECT_EQ(text.GetCStringLen(encoding), static_cast<Int32>(row.kept.size()));
      EXPECT_EQ(toUtf8(text), row.kept);
    }
  }
  const std::string withNul("a\0b", 3);
  EXPECT_EQ(toUtf8(fromUtf8(withNul)), withNul);
  EXPECT_EQ(toUtf8(String("\xC3\xA4z", STRINGENCODING::BIT7)), "?z");
}

TEST(Text, ACopyIntoABufferIsCutButAlwaysEnded) {
  const String text("four");
  for (const auto& [room, expected] :
       std::vector<std::pair<Int, std::string>>{{9, "four"}, {5, "four"}, {4, "fou"}, {1, ""}}) {
    SCOPED_TRACE(room);
    char buffer[16] = "~~~~~~~~~~~~~~~";
    EXPECT_EQ(text.GetCString(buffer, room), 4);
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(buffer[room], '~');
  }
  char untouched = '~';
  text.GetCString(&untouched, 0);
  EXPECT_EQ(untouched, '~');
  Char* copy = text.GetCStringCopy();
  EXPECT_STREQ(copy, "four");
  DeleteMem(copy);
  EXPECT_EQ(copy, nullptr);
  EXPECT_EQ(String().GetCStringCopy(), nullptr);
}

TEST(Text, PiecesJoinAndCompareByCodePoint) {
  String text = "x" + String("y") + "z" + String("\xC3\xA4"_s);
  text += text;
  EXPECT_EQ(text, "xyz\xC3\xA4xyz\xC3\xA4");
  EXPECT_TRUE(String("Z") < String("a") && String("a") < "\xC3\xA4" && "\xEF\xBF\xBF" < String("\xF0\x90\x80\x80"));
  EXPECT_TRUE(String("A") != "a" && "a" != String("A") && String() == "" && String(nullptr).IsEmpty());
  String moved = std::move(text);
  text = moved;
  EXPECT_EQ(text, moved);
  EXPECT_EQ(&"same"_s, &"same"_s);
  EXPECT_EQ(String::IntToString(0) + " " + String::IntToString(INT64_MIN), "0 -9223372036854775808");
}

namespace fs = std::filesystem;

std::string text(const Filename& name) {
  return toUtf8(name.GetString());
}

TEST(FilenameJoining, OnlyTheLastComponentIsAppendedSoNothingLeavesItsFolder) {
  const struct {
    const char *left, *right, *joined;
  } rows[] = {
      {"/base", "a", "/base/a"},       {"/base/", "a/", "/base/a"},  {"/base", "a/b", "/base/b"},
      {"/base", "/etc/x", "/base/x"},  {"/base", "../x", "/base/x"}, {"/base", "..", "/base"},
      {"/base", "x/..", "/base"},      {"/base", ".", "/base"},      {"/base", "", "/base"},
      {"/base", "/", "/base"},         {"", "a/b", "a/b"},           {"/", "a", "/a"},
      {"rel", "a.json", "rel/a.json"}, {"/base", "x.", "/base/x."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.left) + " + " + row.right);
    EXPECT_EQ(text(Filename(row.left) + row.right), row.joined);
    Filename name(row.left);
    name += String(row.right);
    EXPECT_EQ(text(name), row.joined);
  }
}

TEST(FilenameParts, DirectoryAndFile) {
  const struct {
    const char *name, *directory, *file;
  } rows[] = {
      {"/a/b.c", "/a", "b.c"}, {"b", "", "b"}, {"/b", "/", "b"}, {"a.x/b", "a.x", "b"}, {"", "", ""}, {"/", "/", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Filename name(row.name);
    EXPECT_EQ(text(name.GetDirectory()), row.directory);
    EXPECT_EQ(toUtf8(name.GetFileString()), row.file);
    EXPECT_EQ(text(name.GetFile()), row.file);
    EXPECT_EQ(name.IsPopulated(), *row.name != '\0');
  }
}

TEST(FileSystem, ExistenceIsAskedForFilesAndFoldersApart) {
  const TemporaryFolder folder;
  const Filename file = filenameOf(folder.write("f", "x"));
  EXPECT_TRUE(GeFExist(file) && !GeFExist(file, true));
  EXPECT_TRUE(GeFExist(filenameOf(folder.path()), true) && !GeFExist(filenameOf(folder.path())));
  EXPECT_FALSE(GeFExist(Filename()) || GeFExist(Filename(), true) || GeFExist(file + "none"));
  EXPECT_FALSE(GeFExist(Filename(fromUtf8(folder.path().string() + "/f" + std::string("\0more", 5)))));
}

TEST(FileSystem, FoldersAreMadeWithTheirParents) {
  const TemporaryFolder folder;
  folder.write("file", "x");
  const fs::path former = fs::current_path();
  fs::current_path(folder.path());
  const std::string root = folder.path().string();
  const struct {
    std::string name;
    bool made;
  } rows[] = {
      {root + "/a", true},       {root + "/b/c", true}, {root + "/file", false},
      {root + "/file/x", false}, {"", false},           {"bare", false},
      {"missing/below", false},  {"./here", true},      {root + "/" + std::string(300, 'n'), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Filename name(fromUtf8(row.name));
    EXPECT_EQ(GeFCreateDirRec(name), row.made);
    EXPECT_EQ(GeFExist(name, true), row.made);
    EXPECT_EQ(GeFCreateDirRec(name), row.made) << "a second time";
  }
  fs::current_path(former);
}

}  // namespace
}  // namespace quillmere::host
