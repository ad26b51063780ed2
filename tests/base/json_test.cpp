#include "base/json.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "refusal.h"

namespace quillmere {
namespace {

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
