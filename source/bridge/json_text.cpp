#include "json_text.h"

#include "json_scan.h"
#include "text.h"

namespace quillmere {

using namespace cinema;

std::string JsonEscape(const String& text) {
  const std::string utf8 = ToUtf8(text);
  std::string escaped;
  escaped.reserve(utf8.size() + 16);
  for (const char c : utf8) {
    switch (c) {
      case '\t':
        escaped += "\\t";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '"':
      case '\\':
        escaped += '\\';
        [[fallthrough]];
      default:
        escaped += c;
    }
  }
  return escaped;
}

String ExtractJsonString(const String& json, const char* key) {
  const std::string utf8 = ToUtf8(json);
  const auto raw = FindJsonString(utf8, key);
  return raw ? FromUtf8(UndoJsonEscapes(*raw)) : String();
}

bool ExtractJsonBool(const String& json, const char* key, bool preset) {
  return FindJsonBool(ToUtf8(json), key).value_or(preset);
}

JsonLines& JsonLines::Add(const char* key, const String& value) {
  return AddMember(key, '"' + JsonEscape(value) + '"');
}

JsonLines& JsonLines::Add(const char* key, Int32 value) {
  return AddMember(key, std::to_string(value));
}

JsonLines& JsonLines::AddMember(const char* key, const std::string& value) {
  if (!members_.empty()) members_ += ",\n";
  members_.append("  \"").append(key).append("\": ").append(value);
  return *this;
}

std::string JsonLines::Text() const {
  return "{\n" + members_ + "\n}\n";
}

}  // namespace quillmere
