#include <gtest/gtest.h>

#include "c4d.h"
#include "core/text.h"
#include "temporary_folder.h"

namespace quillmere::host {
namespace {

using namespace cinema;
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

TEST(FilenameParts, DirectoryFileAndSuffix) {
  const struct {
    const char *name, *directory, *file, *suffix, *renamed;
  } rows[] = {
      {"/a/b.c", "/a", "b.c", "c", "/a/b.new"},
      {"b", "", "b", "", "b.new"},
      {"/b", "/", "b", "", "/b.new"},
      {"a.x/b", "a.x", "b", "", "a.x/b.new"},
      {"/a/.hidden", "/a", ".hidden", "", "/a/.hidden.new"},
      {"a/b.tar.gz", "a", "b.tar.gz", "gz", "a/b.tar.new"},
      {"", "", "", "", ".new"},
      {"/", "/", "", "", "/.new"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Filename name(row.name);
    EXPECT_EQ(text(name.GetDirectory()), row.directory);
    EXPECT_EQ(toUtf8(name.GetFileString()), row.file);
    EXPECT_EQ(toUtf8(name.GetSuffix()), row.suffix);
    EXPECT_EQ(name.IsPopulated(), *row.name != '\0');
    name.SetSuffix("new"_s);
    EXPECT_EQ(text(name), row.renamed);
  }
  Filename name("/a/b.c");
  name.SetFile("x/d.e");
  EXPECT_EQ(name, Filename("/a/d.e"));
  name.SetDirectory("/z/");
  EXPECT_EQ(name, Filename("/z/d.e"));
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
    bool one, all;  // made by GeFCreateDir, by GeFCreateDirRec
  } rows[] = {
      {root + "/a", true, true},
      {root + "/b/c", false, true},
      {root + "/file", false, false},
      {root + "/file/x", false, false},
      {"", false, false},
      {"bare", true, false},
      {"missing/below", false, false},
      {"./here", true, true},
      {root + "/" + std::string(300, 'n'), false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Filename name(fromUtf8(row.name));
    EXPECT_EQ(GeFCreateDir(name), row.one);
    if (row.one) fs::remove(row.name);
    EXPECT_EQ(GeFCreateDirRec(name), row.all);
    EXPECT_EQ(GeFExist(name, true), row.all);
    EXPECT_EQ(GeFCreateDirRec(name), row.all) << "a second time";
  }
  fs::current_path(former);
}

}  // namespace
}  // namespace quillmere::host
