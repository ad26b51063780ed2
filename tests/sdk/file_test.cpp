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
