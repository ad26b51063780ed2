#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"

// The reader of the host's resource files: symbols, string tables and descriptions. Files come from whoever wrote the
// module, so whatever is in them ends in a result or in an Error that names file and line, in time that grows with
// their length.
namespace quillmere::host::resource {

// "file:line: reason", without the line where the whole file is meant.
Error damage(const std::filesystem::path& file, std::optional<int> line, const std::string& reason);

struct Token {
  enum class Kind { End, Word, Number, Text, Mark };
  Kind kind = Kind::End;
  std::string text;  // of a Text without its quotes and with its escapes resolved
  int line = 1;

  bool is(Kind wanted) const { return kind == wanted; }
  bool isMark(char mark) const { return kind == Kind::Mark && text[0] == mark; }
  bool isWord(std::string_view word) const { return kind == Kind::Word && text == word; }
};

// The first 40 characters of it in quotes, for messages.
std::string quoted(const Token& token);

// The words, numbers, quoted texts and marks of one file. Comments and lines that begin with # count as blanks.
class Scanner {
 public:
  // Reads the file (at most 16 MiB).
  explicit Scanner(std::filesystem::path file);

  const Token& peek() const { return ahead_; }
  Token next();
  bool acceptMark(char mark);  // takes it when it is what comes next
  void expectMark(char mark);
  Token expect(Token::Kind kind, std::string_view what);

  [[noreturn]] void damaged(const Token& where, const std::string& reason) const;
  const std::filesystem::path& file() const { return file_; }

 private:
  Token scan();
  void skipBlanks();
  bool skipComment();
  Token scanText();
  char at(size_t offset) const { return place_ + offset < content_.size() ? content_[place_ + offset] : '\0'; }
  void advance();

  std::filesystem::path file_;
  std::string content_;
  size_t place_ = 0;
  int line_ = 1;
  bool lineIsBlank_ = true;  // so far
  Token ahead_;
};

}  // namespace quillmere::host::resource
