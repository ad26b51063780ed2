#pragma once

#include "ge_prepass.h"

namespace maxon {

// Text in Unicode code points. It has no constructor from a plain literal on purpose: "text"_s makes one, and so does
// the derived cinema::String.
class QM_HOST_API String {
 public:
  String();
  String(const String& other);
  String(String&& other) noexcept;
  ~String();
  String& operator=(const String& other);
  String& operator=(String&& other) noexcept;

  bool IsPopulated() const;
  bool IsEmpty() const;

  explicit operator bool() const = delete;  // ask IsPopulated() or IsEmpty()

 protected:
  struct Parts;  // null for an empty text
  Parts* parts_ = nullptr;

 private:
  template <class T>
  friend struct cinema::HostSide;
};

QM_HOST_API bool operator==(const String& a, const String& b);
QM_HOST_API bool operator!=(const String& a, const String& b);
QM_HOST_API bool operator<(const String& a, const String& b);  // by code points
QM_HOST_API String operator+(const String& a, const String& b);

}  // namespace maxon

// A text for a literal (UTF-8). It lives as long as the host.
QM_HOST_API const maxon::String& operator""_s(const char* utf8, size_t bytes);

namespace cinema {

enum class STRINGENCODING {
  XBIT = 0,  // the platform's; with this host UTF-8
  BIT7 = 2,  // what is no ASCII becomes '?', with BIT7HEX as well
  BIT7HEX = 3,
  UTF8 = 4
};

class QM_HOST_API String : public maxon::String {
 public:
  String();
  String(const maxon::String& other);
  String(maxon::String&& other) noexcept;
  String(const Char* utf8);                       // null gives an empty text
  String(const Char* text, STRINGENCODING type);  // up to the terminating NUL

  static String IntToString(Int32 v);
  static String IntToString(Int64 v);

  // Bytes of the encoded text without its terminator.
  Int32 GetCStringLen(STRINGENCODING type = STRINGENCODING::XBIT) const;
  // Writes at most `max` bytes including a NUL that is always there (none when max is 0 or less); a text that needs
  // more is cut. Returns the encoded length without the NUL.
  Int32 GetCString(Char* buffer, Int max, STRINGENCODING type = STRINGENCODING::XBIT) const;
  // NUL-terminated copy that the caller frees with DeleteMem; null for an empty text.
  Char* GetCStringCopy(STRINGENCODING type = STRINGENCODING::XBIT) const;

  const String& operator+=(const String& other);

  // Of the two texts only this one compares with a literal.
  friend QM_HOST_API Bool operator==(const String& a, const Char* utf8);
  friend QM_HOST_API Bool operator!=(const String& a, const Char* utf8);
  friend QM_HOST_API Bool operator<(const String& a, const Char* utf8);
  friend QM_HOST_API Bool operator==(const Char* utf8, const String& b);
  friend QM_HOST_API Bool operator!=(const Char* utf8, const String& b);
  friend QM_HOST_API Bool operator<(const Char* utf8, const String& b);
};

QM_HOST_API String operator+(const String& a, const String& b);
QM_HOST_API String operator+(const String& a, const Char* utf8);
QM_HOST_API String operator+(const Char* utf8, const String& b);

}  // namespace cinema
