#include "resource/scanner.h"

#include <utility>

#include "base/file_reading.h"

namespace quillmere::host::resource {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kEscapes = R"(nt"\)", kEscaped = "\n\t\"\\";
constexpr std::uintmax_t kLargestFile = 16u << 20;

std::string content(const fs::path& file) {
  try {
    return readText(file, kLargestFile);
  } catch (const Error& reason) {
    throw damage(file, {}, reason.what());
  }
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

std::string shown(char c) {
  if (c > ' ' && c < 0x7F) return std::string("'") + c + "'";
  constexpr char kHex[] = "0123456789abcdef";
  const unsigned byte = static_cast<unsigned char>(c);
  return std::string("the byte 0x") + kHex[byte >> 4] + kHex[byte & 15];
}

}  // namespace

Error damage(const fs::path& file, std::optional<int> line, const std::string& reason) {
  return Error(file.string() + (line ? ":" + std::to_string(*line) : "") + ": " + reason);
}

std::string quoted(const Token& token) {
  return "'" + token.text.substr(0, 40) + "'";
}

Scanner::Scanner(fs::path file) : file_(std::move(file)), content_(content(file_)) {
  if (content_.starts_with("\xEF\xBB\xBF")) place_ = 3;
  ahead_ = scan();
}

Token Scanner::next() {
  return std::exchange(ahead_, ahead_.is(Token::Kind::End) ? ahead_ : scan());
}

bool Scanner::acceptMark(char mark) {
  if (!ahead_.isMark(mark)) return false;
  next();
  return true;
}

void Scanner::expectMark(char mark) {
  if (!acceptMark(mark)) damaged(ahead_, std::string("expected '") + mark + "'");
}

Token Scanner::expect(Token::Kind kind, std::string_view what) {
  if (!ahead_.is(kind)) damaged(ahead_, "expected " + std::string(what));
  return next();
}

void Scanner::damaged(const Token& where, const std::string& reason) const {
  const bool ended = where.is(Token::Kind::End);
  throw damage(file_, where.line, reason + (ended ? ", but the file ends" : ", found " + quoted(where)));
}

void Scanner::advance() {
  const char passed = content_[place_++];
  if (passed == '\n') {
    ++line_;
    lineIsBlank_ = true;
  } else if (!isBlank(passed)) {
    lineIsBlank_ = false;
  }
}

bool Scanner::skipComment() {
  const bool directive = at(0) == '#' && lineIsBlank_;
  if (directive || (at(0) == '/' && at(1) == '/')) {
    for (bool continued = false; place_ < content_.size() && (at(0) != '\n' || continued); advance()) {
      continued = directive && (at(0) == '\\' || (continued && at(0) == '\r'));
    }
    return true;
  }
  if (at(0) != '/' || at(1) != '*') return false;
  const int begun = line_;
  const bool blankBefore = lineIsBlank_;
  const size_t end = content_.find("*/", place_ + 2);
  if (end == std::string::npos) throw damage(file_, begun, "this comment never ends");
  while (place_ < end + 2) advance();
  lineIsBlank_ = blankBefore && line_ == begun;
  return true;
}

void Scanner::skipBlanks() {
  while (place_ < content_.size()) {
    if (isBlank(at(0))) {
      advance();
    } else if (!skipComment()) {
      return;
    }
  }
}

Token Scanner::scanText() {
  Token token{Token::Kind::Text, {}, line_};
  for (advance(); at(0) != '"'; advance()) {
    if (place_ >= content_.size() || at(0) == '\n') throw damage(file_, token.line, "this text has no closing quote");
    if (at(0) != '\\') {
      token.text += at(0);
      continue;
    }
    advance();
    const size_t escape = kEscapes.find(at(0));
    if (escape == std::string_view::npos) throw damage(file_, line_, R"(an escape is one of \n \t \" \\)");
    token.text += kEscaped[escape];
  }
  advance();
  return token;
}

Token Scanner::scan() {
  skipBlanks();
  if (place_ >= content_.size()) return {Token::Kind::End, {}, line_};
  const char first = at(0);
  if (first == '"') return scanText();
  const bool number = isDigit(first) || ((first == '-' || first == '+' || first == '.') && isDigit(at(1)));
  Token token{number ? Token::Kind::Number : Token::Kind::Word, {}, line_};
  if (number || isLetter(first)) {
    do {
      token.text += at(0);
      advance();
    } while (isDigit(at(0)) || isLetter(at(0)) || (number && at(0) == '.'));
    return token;
  }
  if (std::string_view("{}();,=").find(first) == std::string_view::npos || first == '\0') {
    throw damage(file_, line_, shown(first) + " has no meaning here");
  }
  token = {Token::Kind::Mark, std::string(1, first), line_};
  advance();
  return token;
}

}  // namespace quillmere::host::resource
