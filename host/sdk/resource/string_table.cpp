#include "resource/string_table.h"

namespace quillmere::host::resource {

std::map<std::string, std::string> readStringTable(const std::filesystem::path& file) {
  Scanner scanner(file);
  if (!scanner.peek().isWord("STRINGTABLE")) scanner.damaged(scanner.peek(), "expected STRINGTABLE");
  scanner.next();
  if (scanner.peek().is(Token::Kind::Word)) scanner.next();
  scanner.expectMark('{');
  std::map<std::string, std::string> texts;
  while (!scanner.acceptMark('}')) {
    const Token symbol = scanner.expect(Token::Kind::Word, "the symbol of a text, or '}'");
    std::string text = scanner.expect(Token::Kind::Text, "a text in quotes").text;
    while (scanner.peek().is(Token::Kind::Text)) text += scanner.next().text;
    scanner.expectMark(';');
    if (!texts.try_emplace(symbol.text, std::move(text)).second)
      scanner.damaged(symbol, "this symbol has a text already");
  }
  if (!scanner.peek().is(Token::Kind::End)) scanner.damaged(scanner.peek(), "expected nothing behind the table");
  return texts;
}

}  // namespace quillmere::host::resource
