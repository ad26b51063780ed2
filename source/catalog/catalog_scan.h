#pragma once

#include <string_view>
#include <vector>

namespace quillmere {

// The two captures of one match, views into the scanned text, without any escape undone.
struct CatalogMatch {
  std::string_view id;
  std::string_view name;
};

// All matches, in order, that std::regex_iterator finds for the ECMAScript pattern
//   \{[^\{\}]*"id"\s*:\s*"([^"]+)"[^\{\}]*"name"\s*:\s*"([^"]+)"[^\{\}]*\}
// that is: objects without nested objects that hold "id" and later "name", of several the last ones that fit; braces
// count in the quoted id and name as any character does. Linear time and constant stack on any bytes.
std::vector<CatalogMatch> ScanCatalog(std::string_view text);

}  // namespace quillmere
