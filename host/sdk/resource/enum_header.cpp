#include "resource/enum_header.h"

#include <charconv>
#include <limits>

namespace quillmere::host::resource {

namespace {

// In decimal or hexadecimal.
int wholeNumber(const Scanner& scanner, const Token& token) {
  std::string_view digits = token.text;
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
  if (hex) digits.remove_prefix(2);
  long long value = 0;
  const auto [end, failed] = std::from_chars(digits.data(), digits.data() + digits.size(), value, hex ? 16 : 10);
  if (negative) value = -value;
  const bool fits = value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
  if (failed != std::errc() || end != digits.data() + digits.size() || digits.starts_with('-') || !fits) {
    scanner.damaged(token, "expected a whole number of 32 bits");
  }
  return static_cast<int>(value);
}

int valueOf(Scanner& scanner, const Symbols& symbols) {
  const Token token = scanner.next();
  if (token.is(Token::Kind::Number)) return wholeNumber(scanner, token);
  const auto known = symbols.find(token.text);
  if (!token.is(Token::Kind::Word) || known == symbols.end()) {
    scanner.damaged(token, "expected a number or the name of an earlier entry");
  }
  return known->second;
}

// Behind "enum". The application's own headers all have the brace on a line of its own, and whether its reader takes
// another form isn't known: a header that might fail there fails here.
void readEnum(Scanner& scanner, Symbols& symbols, int line) {
  if (scanner.peek().is(Token::Kind::Word)) line = scanner.next().line;
  const Token brace = scanner.peek();
  scanner.expectMark('{');
  if (brace.line == line || brace.line == scanner.peek().line) {
    scanner.damaged(brace, "the brace of an enum needs a line of its own; break the line before and behind it");
  }
  long long next = 0;
  while (!scanner.peek().isMark('}')) {
    const Token name = scanner.expect(Token::Kind::Word, "the name of an entry, or '}'");
    if (scanner.acceptMark('=')) next = valueOf(scanner, symbols);
    if (next > std::numeric_limits<int>::max()) scanner.damaged(name, "this entry's value has more than 32 bits");
    const auto [known, added] = symbols.try_emplace(name.text, static_cast<int>(next));
    if (!added && known->second != next) scanner.damaged(name, "this name stands for another number already");
    ++next;
    if (!scanner.acceptMark(',')) break;
  }
  scanner.expectMark('}');
  scanner.acceptMark(';');
}

}  // namespace

void readEnumHeader(const std::filesystem::path& file, Symbols& symbols) {
  Scanner scanner(file);
  while (!scanner.peek().is(Token::Kind::End)) {
    if (!scanner.peek().isWord("enum")) scanner.damaged(scanner.peek(), "expected a plain enum and nothing else");
    readEnum(scanner, symbols, scanner.next().line);
  }
}

}  // namespace quillmere::host::resource
