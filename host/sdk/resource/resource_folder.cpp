#include "resource/resource_folder.h"

#include <algorithm>

namespace quillmere::host::resource {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFallbackLanguage = "en-US";

bool isAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::string lowerCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return name;
}

bool isName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) { return isAlphanumeric(c) || c == '_'; });
}

}  // namespace

bool isLanguage(const std::string& language) {
  return !language.empty() &&
         std::all_of(language.begin(), language.end(), [](char c) { return isAlphanumeric(c) || c == '-'; });
}

Texts readStringTable(const std::filesystem::path& file) {
  Scanner scanner(file);
  if (!scanner.peek().isWord("STRINGTABLE")) scanner.damaged(scanner.peek(), "expected STRINGTABLE");
  scanner.next();
  if (scanner.peek().is(Token::Kind::Word)) scanner.next();
  scanner.expectMark('{');
  Texts texts;
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

ResourceFolder::ResourceFolder(fs::path folder, std::string language)
    : folder_(std::move(folder)), language_(std::move(language)) {
  std::error_code failed;
  if (!fs::is_directory(folder_, failed))
    throw damage(folder_, {}, "there is no such folder; install the module with its res/");
  const fs::path symbols = folder_ / "c4d_symbols.h";
  readEnumHeader(symbols, symbols_);
  for (auto& [symbol, text] : table("c4d_strings.str")) {
    const auto known = symbols_.find(symbol);
    if (known == symbols_.end()) throw damage(symbols, {}, "has no '" + symbol + "', for which there is a text");
    texts_[known->second] = std::move(text);
  }
}

Texts ResourceFolder::table(const fs::path& within) const {
  const fs::path chosen = folder_ / ("strings_" + language_) / within;
  const fs::path fallback = folder_ / (std::string("strings_") + kFallbackLanguage) / within;
  std::error_code failed;
  Texts texts;
  if (fs::exists(chosen, failed)) texts = readStringTable(chosen);
  if (texts.empty() || (chosen != fallback && fs::exists(fallback, failed))) texts.merge(readStringTable(fallback));
  return texts;
}

DescriptionFiles ResourceFolder::description(const std::string& name) const {
  const fs::path within = fs::path("description");
  if (!isName(name)) throw damage(folder_ / within, {}, "a description isn't named '" + name.substr(0, 40) + "'");
  const std::string stem = lowerCase(name);
  DescriptionFiles files;
  files.file = folder_ / within / (stem + ".res");
  files.resource = readDescriptionResource(files.file);
  if (files.resource.name.text != name) {
    throw damage(files.file, files.resource.name.line,
                 "describes " + quoted(files.resource.name) + ", not '" + name + "'");
  }
  files.symbols = symbols_;
  readEnumHeader(folder_ / within / (stem + ".h"), files.symbols);
  files.labels = table(within / (stem + ".str"));
  return files;
}

}  // namespace quillmere::host::resource
