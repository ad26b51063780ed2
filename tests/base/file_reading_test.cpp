#include "base/file_reading.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/error.h"
#include "base/json.h"
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
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = folder / "socket";
  ASSERT_LT(name.size(), sizeof address.sun_path);
  name.copy(address.sun_path, name.size());
  ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  std::filesystem::create_symlink("/dev/zero", folder / "link");
  std::filesystem::create_directory(folder / "folder");
  folder.write("file", "");
  for (const auto& [file, reason] :
       std::vector<std::pair<const char*, std::string>>{{"pipe", "it is not a regular file"},
                                                        {"socket", "it is not a regular file"},
                                                        {"link", "it is not a regular file"},
                                                        {"folder", "it is not a regular file"},
                                                        {"missing", "there is no such file"},
                                                        {"file/below", "there is no such file"}}) {
    EXPECT_EQ(refusalOf<Error>([&, at = folder / file] { readText(at, kMiB); }), reason) << file;
  }
  close(socket);
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

}  // namespace
}  // namespace quillmere
