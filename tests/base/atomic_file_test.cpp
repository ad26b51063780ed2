#include "base/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "image/file_formats.h"
#include "refusal.h"
#include "temporary_folder.h"

namespace quillmere::image {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> namesIn(const TemporaryFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder.path())) names.push_back(entry.path().filename().string());
  return names;
}

TEST(AtomicFile, ReadersMeetTheFormerFileUntilTheNewOneIsWhole) {
  const TemporaryFolder folder;
  writeFile(folder / "a", "former");
  {
    AtomicFile file(folder / "a");
    std::fputs("half", file.stream());
    std::fflush(file.stream());
    EXPECT_EQ(folder.contentOf("a"), "former");
  }
  EXPECT_EQ(folder.contentOf("a"), "former");
  EXPECT_EQ(namesIn(folder), std::vector<std::string>{"a"});
  writeFile(folder / "a", "new");
  EXPECT_EQ(folder.contentOf("a"), "new");
  EXPECT_EQ(namesIn(folder), std::vector<std::string>{"a"});
}

TEST(AtomicFile, ALinkStaysALink) {
  const TemporaryFolder folder;
  writeFile(folder / "a", "former");
  fs::create_symlink(folder / "a", folder / "link");
  writeFile(folder / "link", "new");
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(folder.contentOf("a"), "new");
}

// Root may write anywhere, so none of these rests on permissions alone.
TEST(AtomicFile, TargetsThatCannotBeWrittenAreRefusedAndNothingIsLeft) {
  const TemporaryFolder folder;
  writeFile(folder / "file", "former");
  fs::create_directory(folder / "folder");
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  const std::vector<std::string> before = namesIn(folder);
  const Image picture(2, 2, 3, Sample::Float);
  for (const char* name : {"missing/a.png", "file/a.png", "folder", "pipe", "folder/"}) {
    for (const auto write : {+[](const fs::path&to, const Image&from) { writePng(to, from); },
                             +[](const fs::path&to, const Image&from) { writeExr(to, from); }}) {
      const std::string told = refusalOf<Error>([&] { write(folder / name, picture); });
      EXPECT_EQ(told.find("cannot write '" + (folder / name).string()), 0U) << name << ": " << told;
    }
  }
  EXPECT_THROW(writePng(folder / "a.png", Image()), Error);
  EXPECT_EQ(namesIn(folder), before);
  EXPECT_TRUE(fs::is_empty(folder / "folder"));
  EXPECT_EQ(folder.contentOf("file"), "former");
}

TEST(AtomicFile, AFullDiskIsAnErrorAndLeavesTheFormerFile) {
  const TemporaryFolder folder;
  writeFile(folder / "a", "former");
  AtomicFile file(folder / "a");
  std::FILE* full = std::freopen("/dev/full", "wb", file.stream());
  if (full == nullptr) GTEST_SKIP() << "there is no device that is always full here";
  // More than a stream keeps back fails while it is written, less when the file is completed.
  for (const std::size_t length : {1U << 20U, 3U}) {
    const std::string text(length, 'n');
    std::fwrite(text.data(), 1, text.size(), full);
    const std::string told = refusalOf<Error>([&] { file.commit(); });
    EXPECT_NE(told.find("make room on the disk"), std::string::npos) << told;
  }
  EXPECT_EQ(folder.contentOf("a"), "former");
}

}  // namespace

}  // namespace quillmere::image
