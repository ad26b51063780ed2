#include "base/file_reading.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <vector>

#include "base/error.h"
#include "base/json.h"
#include "base/parallel.h"
#include "refusal.h"
#include "temporary_folder.h"

namespace quillmere {
namespace {

constexpr std::uintmax_t kMiB = 1U << 20U;

TEST(FileReading, AFileOfAnyLengthUpToTheLimitIsReadWhole) {
  const TemporaryFolder folder;
  for (const std::size_t length : {std::size_t{0}, std::size_t{5}, std::size_t{100'000}, std::size_t{kMiB}}) {
    std::string content(length, 'a');
    for (std::size_t i = 0; i < length; ++i) content[i] = static_cast<char>(i * 7 % 251);
    folder.write("a", content);
    EXPECT_EQ(readText(folder / "a", kMiB), content);
    EXPECT_EQ(readBytes(folder / "a", kMiB), std::vector<std::uint8_t>(content.begin(), content.end()));
  }
  folder.write("a", std::string(kMiB + 1, 'a'));
  EXPECT_EQ(refusalOf<Error>([&] { readText(folder / "a", kMiB); }), "it is larger than 1 MiB");
}

// None of these may keep the reader waiting, or feed it without end.
TEST(FileReading, OnlyOrdinaryFilesAreRead) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("/dev/zero", folder / "link");
  std::filesystem::create_directory(folder / "folder");
  folder.write("file", "");
  for (const auto& [file, reason] :
       std::vector<std::pair<const char*, std::string>>{{"pipe", "it is not a regular file"},
                                                        {"link", "it is not a regular file"},
                                                        {"folder", "it is not a regular file"},
                                                        {"missing", "there is no such file"},
                                                        {"file/below", "there is no such file"}}) {
    EXPECT_EQ(refusalOf<Error>([&, at = folder / file] { readText(at, kMiB); }), reason) << file;
  }
}

// Whose making costs nothing must not cost the reader gigabytes.
TEST(FileReading, ALongFileOfHolesIsRefusedBeforeItIsRead) {
  const TemporaryFolder folder;
  const auto file = folder.write("a", std::string(4096, 'a'));
  std::filesystem::resize_file(file, 2048 * kMiB);
  EXPECT_EQ(refusalOf<Error>([&] { readBytes(file, 2048 * kMiB); }),
            "it is 2 GiB long and holds 4 KiB, the rest is a hole; if that is meant, fill it with cp --sparse=never");
  EXPECT_EQ(readStart(file, kMiB).size(), kMiB);  // no more of it than that
  std::filesystem::resize_file(file, kMiB);
  EXPECT_EQ(readBytes(file, kMiB).size(), kMiB);
  std::filesystem::resize_file(folder.write("b", std::string(kMiB, 'b')), 240 * kMiB);
  std::ofstream(folder / "b", std::ios::app | std::ios::binary) << std::string(16 * kMiB, 'b');
  EXPECT_EQ(readBytes(folder / "b", 256 * kMiB).size(), 256 * kMiB);  // in two pieces, enough of it
}

TEST(ParsedJson, HostileTextIsRefusedWithTheReason) {
  EXPECT_EQ(lineOf(parsedJson(R"({"b": [1], "a": "ä"})", 2)), "{\"b\":[1],\"a\":\"ä\"}\n");
  const std::string deep = std::string(100'000, '[');
  for (const auto& [text, reason] :
       std::vector<std::pair<std::string, std::string>>{{R"({"a": [[1]]})", "it is nested more than 2 deep"},
                                                        {deep, "it is nested more than 2 deep"},
                                                        {R"({"a": })", "it is damaged at byte 7, where it is not JSON"},
                                                        {"", "it is damaged at byte 1, where it is not JSON"},
                                                        {"[1e999]", "it holds a number that is too large"}}) {
    EXPECT_EQ(refusalOf<Error>([&, given = text] { parsedJson(given, 2); }), reason) << text.substr(0, 40);
  }
}

TEST(ForEach, EachIndexIsWorkedOnOnceWhateverTheNumberOfThreads) {
  for (const int threads : {-1, 1, 2, 64}) {
    for (const int count : {0, 1, 1000}) {
      std::vector<std::atomic<int>> calls(static_cast<std::size_t>(count));
      const Outcome outcome = forEach(count, threads, {}, [&](int i) {
        forEach(2, threads, {}, [&](int) { ++calls[static_cast<std::size_t>(i)]; });  // a loop within a loop
      });
      EXPECT_EQ(outcome, Outcome::Complete);
      for (const auto& call : calls) EXPECT_EQ(call, 2);
    }
  }
}

TEST(ForEach, AStopAndAFailureEndTheRest) {
  for (const int threads : {1, 4}) {
    std::atomic<int> calls = 0;
    EXPECT_EQ(forEach(
                  100'000, threads, [&] { return calls >= 10; }, [&](int) { ++calls; }),
              Outcome::Stopped);
    EXPECT_GE(calls, 10);
    EXPECT_LE(calls, 10 + threads);
    const auto failing = [&] {
      forEach(100'000, threads, {}, [&](int i) {
        if (++calls > 100) throw Error("at " + std::to_string(i));
      });
    };
    EXPECT_EQ(refusalOf<Error>(failing).substr(0, 3), "at ");
    EXPECT_LT(calls, 50'000);
  }
}

}  // namespace
}  // namespace quillmere
