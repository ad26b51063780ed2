#pragma once

#include <map>
#include <string>

#include "resource/description_resource.h"
#include "resource/enum_header.h"

namespace quillmere::host::resource {

using Texts = std::map<std::string, std::string>;  // UTF-8, by symbol

// The texts of a file "STRINGTABLE [name] { SYMBOL "text"; ... }". Texts that stand side by side are one. Throws Error.
Texts readStringTable(const std::filesystem::path& file);

// A description with what its names mean.
struct DescriptionFiles {
  std::filesystem::path file;  // the .res
  DescriptionResource resource;
  Symbols symbols;
  Texts labels;  // the description's name has the effect's own
};

// A module's "res" folder: c4d_symbols.h, strings_<language>/ and description/. A text that the language doesn't have
// is the one of en-US; a file that neither has is missing.
class ResourceFolder {
 public:
  // Reads the symbols and texts. Throws Error.
  ResourceFolder(std::filesystem::path folder, std::string language);

  const std::map<int, std::string>& texts() const { return texts_; }

  // description/<name>.res and .h and strings_<language>/description/<name>.str; files are named in lower case.
  // Throws Error.
  DescriptionFiles description(const std::string& name) const;

 private:
  Texts table(const std::filesystem::path& within) const;

  std::filesystem::path folder_;
  std::string language_;
  Symbols symbols_;
  std::map<int, std::string> texts_;
};

// Letters, digits and hyphens, as in "en-US".
bool isLanguage(const std::string& language);

}  // namespace quillmere::host::resource
