#pragma once

#include <string>

#include "c4d.h"

// The JSON that the module exchanges with other programs: assembled member by member, read one key at a time.
namespace quillmere {

// The text in UTF-8 as it stands between the quotes of a JSON string. Tab, line feed, carriage return, double quote and
// backslash are escaped; everything else is copied, other control characters too.
std::string JsonEscape(const cinema::String& text);

// The value of the first `"key": "..."` in the text, at any depth, with the escapes of the double quote, the backslash
// and the line feed undone; empty when there is none. The text needn't be whole: half a file gives what it gives.
cinema::String ExtractJsonString(const cinema::String& json, const char* key);

// Whether the first `"key": true` or `"key": false` in the text, at any depth, says true; `preset` without one.
bool ExtractJsonBool(const cinema::String& json, const char* key, bool preset);

// A flat object with one member a line, indented by two spaces, and a line feed at its end.
class JsonLines {
 public:
  JsonLines& Add(const char* key, const cinema::String& value);
  JsonLines& Add(const char* key, cinema::Int32 value);
  std::string Text() const;

 private:
  JsonLines& AddMember(const char* key, const std::string& value);
  std::string members_;
};

}  // namespace quillmere
