#include "resource/description_resource.h"

#include <utility>

namespace quillmere::host::resource {

namespace {

constexpr int kDeepest = 32;

bool isValue(const Token& token) {
  return token.is(Token::Kind::Word) || token.is(Token::Kind::Number) || token.is(Token::Kind::Text);
}

bool hasList(const Token& name) {
  return name.text == "CYCLE" || name.text == "ACCEPT" || name.text == "REFUSE";
}

// Behind "CYCLE {".
std::vector<Token> readList(Scanner& scanner) {
  std::vector<Token> values;
  while (!scanner.acceptMark('}')) {
    if (!isValue(scanner.peek())) scanner.damaged(scanner.peek(), "expected an entry of the list, or '}'");
    values.push_back(scanner.next());
    scanner.expectMark(';');
  }
  return values;
}

class Reader {
 public:
  explicit Reader(const std::filesystem::path& file) : scanner_(file) {}

  DescriptionResource read() {
    if (!scanner_.peek().isWord("CONTAINER")) scanner_.damaged(scanner_.peek(), "expected CONTAINER");
    result_.content.type = scanner_.next();
    result_.content.symbol = scanner_.expect(Token::Kind::Word, "the description's name");
    result_.name = result_.content.symbol.text;
    scanner_.expectMark('{');
    readBlock(result_.content, 0);
    if (!scanner_.peek().is(Token::Kind::End)) scanner_.damaged(scanner_.peek(), "expected nothing behind CONTAINER");
    return std::move(result_);
  }

 private:
  // Behind '{', up to and with '}'.
  void readBlock(Element& element, int depth) {
    if (depth > kDeepest) scanner_.damaged(scanner_.peek(), "groups may lie in each other 32 levels deep");
    while (!scanner_.acceptMark('}')) readItem(element, depth);
  }

  void readItem(Element& element, int depth) {
    const Token name = scanner_.expect(Token::Kind::Word, "a parameter, a property, or '}'");
    if (scanner_.peek().isMark('{')) {
      scanner_.next();
      if (hasList(name)) {
        element.properties.push_back({name, readList(scanner_)});
      } else {
        readBlock(element.members.emplace_back(Element{name, Token{}, {}, {}}), depth + 1);
      }
      return;
    }
    std::vector<Token> values;
    while (isValue(scanner_.peek())) values.push_back(scanner_.next());
    if (values.size() == 1 && values[0].is(Token::Kind::Word) && scanner_.acceptMark('{')) {
      readBlock(element.members.emplace_back(Element{name, values[0], {}, {}}), depth + 1);
      return;
    }
    scanner_.expectMark(';');
    keep(element, {name, std::move(values)}, depth);
  }

  void keep(Element& element, Property property, int depth) {
    if (depth > 0 || (property.name.text != "INCLUDE" && property.name.text != "NAME")) {
      element.properties.push_back(std::move(property));
      return;
    }
    if (property.values.size() != 1) scanner_.damaged(property.name, "expected one name behind this");
    if (property.name.text == "INCLUDE") result_.includes.push_back(property.values[0]);
  }

  Scanner scanner_;
  DescriptionResource result_;
};

}  // namespace

DescriptionResource readDescriptionResource(const std::filesystem::path& file) {
  return Reader(file).read();
}

}  // namespace quillmere::host::resource
