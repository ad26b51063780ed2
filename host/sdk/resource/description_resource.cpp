#include "resource/description_resource.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quillmere::host::resource {

namespace {

constexpr int kDeepest = 32;
constexpr std::array<std::string_view, 5> kLooks = {"COLUMNS", "DEFAULT", "LAYOUTGROUP", "SCALE_H", "SCALE_V"};

class Reader {
 public:
  explicit Reader(const std::filesystem::path& file) : scanner_(file) {}

  DescriptionResource read() {
    if (!scanner_.peek().isWord("CONTAINER")) scanner_.damaged(scanner_.peek(), "expected CONTAINER");
    scanner_.next();
    result_.name = scanner_.expect(Token::Kind::Word, "the description's name");
    scanner_.expectMark('{');
    readBlock(result_.groups, 0);
    if (!scanner_.peek().is(Token::Kind::End)) scanner_.damaged(scanner_.peek(), "expected nothing behind CONTAINER");
    return std::move(result_);
  }

 private:
  // Behind '{', up to and with '}'.
  void readBlock(std::vector<Group>& groups, int depth) {
    if (depth > kDeepest) scanner_.damaged(scanner_.peek(), "groups may lie in each other 32 levels deep");
    while (!scanner_.acceptMark('}')) readItem(groups, depth);
  }

  void readItem(std::vector<Group>& groups, int depth) {
    const Token word = scanner_.expect(Token::Kind::Word, "a group, a property, or '}'");
    if (word.isWord("GROUP")) {
      Group& group = groups.emplace_back(Group{scanner_.expect(Token::Kind::Word, "the group's ID"), {}});
      scanner_.expectMark('{');
      return readBlock(group.members, depth + 1);
    }
    if (depth == 0 && (word.isWord("NAME") || word.isWord("INCLUDE"))) {
      const Token name = scanner_.expect(Token::Kind::Word, "one name behind " + word.text);
      if (word.isWord("INCLUDE")) result_.includes.push_back(name);
    } else if (depth > 0 && std::find(kLooks.begin(), kLooks.end(), word.text) != kLooks.end()) {
      while (scanner_.peek().is(Token::Kind::Word) || scanner_.peek().is(Token::Kind::Number)) scanner_.next();
    } else {
      throw damage(scanner_.file(), word.line,
                   quoted(word) + ": this host does not model it in a description's file; " +
                       "add parameters when the module is asked for its description");
    }
    scanner_.expectMark(';');
  }

  Scanner scanner_;
  DescriptionResource result_;
};

}  // namespace

DescriptionResource readDescriptionResource(const std::filesystem::path& file) {
  return Reader(file).read();
}

}  // namespace quillmere::host::resource
