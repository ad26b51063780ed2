#include "resource/resource_folder.h"

#include <algorithm>

#include "resource/string_table.h"

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

ResourceFolder::ResourceFolder(fs::path folder, std::string language)
    : folder_(std::move(folder)), language_(std::move(language)) {
  std::error_code failed;
  if (!fs::is_directory(folder_, failed))
    throw Damage(folder_, "there is no such folder; install the module with its res/");
  const fs::path symbols = folder_ / "c4d_symbols.h";
  readEnumHeader(symbols, symbols_);
  for (auto& [symbol, text] : table("c4d_strings.str")) {
    const auto known = symbols_.find(symbol);
    if (known == symbols_.end()) throw Damage(symbols, "has no '" + symbol + "', for which there is a text");
    texts_[known->second] = std::move(text);
  }
}

std::map<std::string, std::string> ResourceFolder::table(const fs::path& within) const {
  const fs::path chosen = folder_ / ("strings_" + language_) / within;
  const fs::path fallback = folder_ / (std::string("strings_") + kFallbackLanguage) / within;
  std::error_code failed;
  std::map<std::string, std::string> texts;
  if (fs::exists(chosen, failed)) texts = readStringTable(chosen);
  if (texts.empty() || (chosen != fallback && fs::exists(fallback, failed))) texts.merge(readStringTable(fallback));
  return texts;
}

DescriptionFiles ResourceFolder::description(const std::string& name) const {
  const fs::path within = fs::path("description");
  if (!isName(name)) throw Damage(folder_ / within, "a description isn't named '" + name.substr(0, 40) + "'");
  const std::string stem = lowerCase(name);
  DescriptionFiles files;
  files.file = folder_ / within / (stem + ".res");
  files.resource = readDescriptionResource(files.file);
  if (files.resource.name != name) {
    throw Damage(files.file, files.resource.content.symbol.line,
                 "describes '" + files.resource.name + "', not '" + name + "'");
  }
  files.symbols = symbols_;
  readEnumHeader(folder_ / within / (stem + ".h"), files.symbols);
  files.labels = table(within / (stem + ".str"));
  return files;
}

}  // namespace quillmere::host::resource
