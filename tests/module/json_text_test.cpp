#include "bridge/json_text.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "bridge/text_file.h"
#include "room.h"

namespace quillmere {
namespace {

using namespace std::string_literals;
using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(JsonText, EscapesFiveCharactersAndNoOthers) {
  for (const auto& [text, escaped] : Rows{{"", ""}, {"\"\\\t\n\r", R"(\"\\\t\n\r)"}, {"\1\f\x7F/é", "\1\f\x7F/é"}}) {
    EXPECT_EQ(JsonEscape(FromUtf8(text)), escaped);
  }
}

TEST(JsonText, ExtractsTheFirstStringOfAKeyAndUndoesThreeEscapes) {
  for (const auto& [json, value] : Rows{{R"({"message" : "Loading model"})", "Loading model"},
                                        {R"({"message":"say \"hi\", D:\\new"})", "say \"hi\", D:\new"},
                                        {R"({"message":"a\\\\b, tab\there"})", R"(a\b, tab\there)"},
                                        {R"({"message":"cut off \")", R"(cut off \)"},
                                        {"{\"message\":\"né\0ver\"}"s, ""}}) {
    EXPECT_EQ(ToUtf8(ExtractJsonString(FromUtf8(json), "message")), value) << json;
  }
}

using TextFile = Room;

TEST_F(TextFile, IsReadUpToItsFirstNulAndWrittenWholeOrElseRefused) {
  const auto named = [&](const char* name) { return host::filenameOf(folder / name); };
  write(folder / "file", "before the NUL\0after"s);
  EXPECT_EQ(ToUtf8(ReadTextFile(named("file"))), "before the NUL");
  EXPECT_TRUE(WriteTextFile(named("file"), "short\0er"s));
  EXPECT_EQ(contentOf(folder / "file"), "short\0er"s);
  for (const cinema::Filename& none : {named("none/file"), named("bin"), cinema::Filename()}) {
    EXPECT_EQ(ToUtf8(ReadTextFile(none)), "");
    EXPECT_FALSE(WriteTextFile(none, "x"));
  }
  EXPECT_FALSE(exists(folder / "none"));
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(WriteTextFile(named("pipe"), "x")) << "nobody reads it";
  for (const cinema::Filename& endless : {named("pipe"), cinema::Filename("/dev/zero")}) {
    EXPECT_EQ(ToUtf8(ReadTextFile(endless)), "");
  }
  const std::string large(100000, 'x');
  write(folder / "large", large);
  EXPECT_EQ(ToUtf8(ReadTextFile(named("large"))), large);
  EXPECT_FALSE(WriteTextFile(cinema::Filename("/dev/full"), large)) << "or there is no such device";
}

}  // namespace
}  // namespace quillmere
