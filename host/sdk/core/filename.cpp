#include <utility>

#include "c4d_file.h"
#include "core/string.h"
#include "core/text.h"

namespace cinema {

namespace {

constexpr char32_t kSeparator = U'/';

const std::u32string& points(const String& text) {
  return HostSide<maxon::String>::points(text);
}
String text(std::u32string points) {
  return HostSide<maxon::String>::make(std::move(points));
}

// The separator alone is the root and stays.
String withoutTrailingSeparators(const maxon::String& name) {
  std::u32string kept = HostSide<maxon::String>::points(name);
  while (kept.size() > 1 && kept.back() == kSeparator) kept.pop_back();
  return text(std::move(kept));
}

size_t fileStart(const std::u32string& name) {
  const size_t separator = name.rfind(kSeparator);
  return separator == std::u32string::npos ? 0 : separator + 1;
}

// Where the suffix's dot stands, or the end of the name. A leading dot belongs to the name.
size_t suffixDot(const std::u32string& name) {
  const size_t dot = name.rfind(U'.');
  return dot == std::u32string::npos || dot <= fileStart(name) ? name.size() : dot;
}

}  // namespace

Filename::Filename() = default;
Filename::Filename(const Char* utf8) : Filename(String(utf8)) {}
Filename::Filename(const maxon::String& name) : name_(withoutTrailingSeparators(name)) {}
Filename::Filename(const Filename& other) = default;
Filename::Filename(Filename&& other) noexcept = default;
Filename::~Filename() = default;
const Filename& Filename::operator=(const Filename& other) {
  name_ = other.name_;
  return *this;
}
const Filename& Filename::operator=(Filename&& other) noexcept {
  name_ = std::move(other.name_);
  return *this;
}

Bool Filename::IsPopulated() const {
  return name_.IsPopulated();
}
String Filename::GetString() const {
  return name_;
}
void Filename::SetString(const maxon::String& name) {
  *this = Filename(name);
}

const Filename Filename::GetDirectory() const {
  const std::u32string& name = points(name_);
  const size_t start = fileStart(name);
  if (start == 0) return Filename();
  return Filename(text(name.substr(0, start == 1 ? 1 : start - 1)));
}

void Filename::SetDirectory(const Filename& directory) {
  *this = directory + GetFile();
}

const Filename Filename::GetFile() const {
  return Filename(GetFileString());
}

String Filename::GetFileString() const {
  return text(points(name_).substr(fileStart(points(name_))));
}

void Filename::SetFile(const Filename& file) {
  *this = GetDirectory() + file.GetFile();
}

String Filename::GetSuffix() const {
  const std::u32string& name = points(name_);
  const size_t dot = suffixDot(name);
  return dot == name.size() ? String() : text(name.substr(dot + 1));
}

void Filename::SetSuffix(const maxon::String& suffix) {
  ClearSuffix();
  if (suffix.IsPopulated()) name_ += "." + String(suffix);
}

void Filename::ClearSuffix() {
  name_ = text(points(name_).substr(0, suffixDot(points(name_))));
}

// Only the last component is taken over, so no ID, stem or prefix can lead out of its folder: a last component that
// names a folder by its place ("..", ".") is left out as well.
const Filename& Filename::operator+=(const Filename& other) {
  if (!IsPopulated()) return *this = other;
  const String file = other.GetFileString();
  if (file.IsEmpty() || file == "." || file == "..") return *this;
  const bool atRoot = points(name_).back() == kSeparator;
  name_ += atRoot ? file : "/" + file;
  return *this;
}

const Filename operator+(const Filename& a, const Filename& b) {
  Filename joined = a;
  joined += b;
  return joined;
}

Bool operator==(const Filename& a, const Filename& b) {
  return a.name_ == b.name_;
}
Bool operator!=(const Filename& a, const Filename& b) {
  return !(a == b);
}

}  // namespace cinema

namespace quillmere::host {

std::filesystem::path pathOf(const cinema::Filename& name) {
  return std::filesystem::path(toUtf8(name.GetString()));
}

cinema::Filename filenameOf(const std::filesystem::path& path) {
  return cinema::Filename(fromUtf8(path.string()));
}

}  // namespace quillmere::host
