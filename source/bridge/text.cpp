#include "text.h"

namespace quillmere {

using namespace cinema;

std::string ToUtf8(const String& text) {
  const Int32 length = text.GetCStringLen(STRINGENCODING::UTF8) + 1;
  std::string utf8(length > 0 ? std::size_t(length) : 0, '\0');
  text.GetCString(utf8.data(), Int(utf8.size()), STRINGENCODING::UTF8);
  if (!utf8.empty() && utf8.back() == '\0') utf8.pop_back();
  return utf8;
}

String FromUtf8(const std::string& utf8) {
  return String(utf8.c_str(), STRINGENCODING::UTF8);
}

}  // namespace quillmere
