#include "core/text.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "base/utf8.h"

using quillmere::decodeUtf8;
using quillmere::encodeUtf8;

namespace {

const std::u32string& points(const maxon::String& text) {
  return cinema::HostSide<maxon::String>::points(text);
}
std::u32string decoded(const char* utf8) {
  return decodeUtf8(utf8 ? utf8 : "");
}

}  // namespace

namespace maxon {

String::String() = default;
String::String(const String& other) : parts_(other.parts_ ? new Parts(*other.parts_) : nullptr) {}
String::String(String&& other) noexcept : parts_(std::exchange(other.parts_, nullptr)) {}
String::~String() {
  delete parts_;
}

String& String::operator=(const String& other) {
  return *this = String(other);
}

String& String::operator=(String&& other) noexcept {
  std::swap(parts_, other.parts_);
  return *this;
}

bool String::IsPopulated() const {
  return parts_ != nullptr;
}
bool String::IsEmpty() const {
  return parts_ == nullptr;
}

bool operator==(const String& a, const String& b) {
  return points(a) == points(b);
}
bool operator!=(const String& a, const String& b) {
  return points(a) != points(b);
}
bool operator<(const String& a, const String& b) {
  return points(a) < points(b);
}

String operator+(const String& a, const String& b) {
  return cinema::HostSide<String>::make(points(a) + points(b));
}

}  // namespace maxon

// Kept by content, so that a literal in a loop is made once.
const maxon::String& operator""_s(const char* utf8, size_t bytes) {
  static std::mutex guard;
  static auto& kept = *new std::unordered_map<std::string, maxon::String>();  // outlives the modules' own statics
  const std::scoped_lock lock(guard);
  const auto [entry, added] = kept.try_emplace(std::string(utf8, bytes));
  if (added) entry->second = quillmere::host::fromUtf8(entry->first);
  return entry->second;
}

namespace cinema {

const std::u32string& HostSide<maxon::String>::points(const maxon::String& text) {
  static const std::u32string& none = *new std::u32string();
  return text.parts_ ? text.parts_->points : none;
}

maxon::String HostSide<maxon::String>::make(std::u32string points) {
  maxon::String text;
  if (!points.empty()) text.parts_ = new maxon::String::Parts{std::move(points)};
  return text;
}

namespace {

bool isSevenBit(STRINGENCODING type) {
  return type == STRINGENCODING::BIT7 || type == STRINGENCODING::BIT7HEX;
}

std::string encoded(const String& text, STRINGENCODING type) {
  if (!isSevenBit(type)) return encodeUtf8(points(text));
  std::string bytes;
  for (const char32_t point : points(text)) bytes += point < 0x80 ? static_cast<char>(point) : '?';
  return bytes;
}

Int32 inRange(size_t bytes) {
  return static_cast<Int32>(std::min<size_t>(bytes, std::numeric_limits<Int32>::max()));
}

}  // namespace

String::String() = default;
String::String(const maxon::String& other) : maxon::String(other) {}
String::String(maxon::String&& other) noexcept : maxon::String(std::move(other)) {}
String::String(const Char* utf8) : String(utf8, STRINGENCODING::UTF8) {}
String::String(const Char* text, STRINGENCODING type) : maxon::String(HostSide<maxon::String>::make(decoded(text))) {
  if (!isSevenBit(type) || !parts_) return;
  std::replace_if(
      parts_->points.begin(), parts_->points.end(), [](char32_t point) { return point > 0x7F; }, U'?');
}

String String::IntToString(Int32 v) {
  return IntToString(Int64{v});
}
String String::IntToString(Int64 v) {
  return String(std::to_string(v).c_str());
}

Int32 String::GetCStringLen(STRINGENCODING type) const {
  return inRange(encoded(*this, type).size());
}

Int32 String::GetCString(Char* buffer, Int max, STRINGENCODING type) const {
  const std::string bytes = encoded(*this, type);
  if (buffer && max > 0) {
    const size_t written = std::min(bytes.size(), static_cast<size_t>(max) - 1);
    std::copy_n(bytes.data(), written, buffer);
    buffer[written] = '\0';
  }
  return inRange(bytes.size());
}

Char* String::GetCStringCopy(STRINGENCODING type) const {
  if (IsEmpty()) return nullptr;
  const std::string bytes = encoded(*this, type);
  auto* copy = static_cast<Char*>(AllocateMemoryClear(bytes.size() + 1));
  if (copy) std::copy(bytes.begin(), bytes.end(), copy);
  return copy;
}

const String& String::operator+=(const String& other) {
  return *this = *this + other;
}

Bool operator==(const String& a, const Char* utf8) {
  return points(a) == decoded(utf8);
}
Bool operator!=(const String& a, const Char* utf8) {
  return !(a == utf8);
}
Bool operator<(const String& a, const Char* utf8) {
  return points(a) < decoded(utf8);
}
Bool operator==(const Char* utf8, const String& b) {
  return b == utf8;
}
Bool operator!=(const Char* utf8, const String& b) {
  return !(b == utf8);
}
Bool operator<(const Char* utf8, const String& b) {
  return decoded(utf8) < points(b);
}

String operator+(const String& a, const String& b) {
  return HostSide<maxon::String>::make(points(a) + points(b));
}
String operator+(const String& a, const Char* utf8) {
  return a + String(utf8);
}
String operator+(const Char* utf8, const String& b) {
  return String(utf8) + b;
}

}  // namespace cinema

namespace quillmere::host {

std::string toUtf8(const maxon::String& text) {
  return encodeUtf8(points(text));
}

cinema::String fromUtf8(std::string_view utf8) {
  return cinema::HostSide<maxon::String>::make(decodeUtf8(utf8));
}

std::filesystem::path pathOf(const cinema::Filename& name) {
  return toUtf8(name.GetString());
}
cinema::Filename filenameOf(const std::filesystem::path& path) {
  return cinema::Filename(fromUtf8(path.string()));
}

}  // namespace quillmere::host
