#include <gtest/gtest.h>

#include "c4d.h"
#include "core/text.h"
#include "temporary_folder.h"

namespace quillmere::host {
namespace {

using namespace cinema;
namespace fs = std::filesystem;

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
