#include "c4d_file.h"

#include <filesystem>
#include <utility>

#include "core/text.h"

namespace cinema {

namespace fs = std::filesystem;
using quillmere::host::pathOf;

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

const Filename Filename::GetDirectory() const {
  const std::u32string& name = points(name_);
  const size_t start = fileStart(name);
  if (start == 0) return Filename();
  return Filename(text(name.substr(0, start == 1 ? 1 : start - 1)));
}

const Filename Filename::GetFile() const {
  return Filename(GetFileString());
}

String Filename::GetFileString() const {
  return text(points(name_).substr(fileStart(points(name_))));
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

namespace {

// A NUL would cut the name short on its way into the system: such a name stands for no file.
bool isUsable(const fs::path& path) {
  return !path.empty() && path.native().find('\0') == std::string::npos;
}

// A relative name's first folder is never made: it must be there, so a bare name can't be made at all.
bool hasFolderToStartFrom(const fs::path& path) {
  std::error_code failed;
  return path.is_absolute() || (path.has_parent_path() && fs::is_directory(*path.begin(), failed));
}

}  // namespace

Bool GeFExist(const Filename& name, Bool isdir) {
  const fs::path path = pathOf(name);
  std::error_code failed;
  if (!isUsable(path)) return false;
  return isdir ? fs::is_directory(path, failed) : fs::exists(path, failed) && !fs::is_directory(path, failed);
}

Bool GeFCreateDirRec(const Filename& name) {
  const fs::path path = pathOf(name);
  std::error_code failed;
  if (!isUsable(path) || !hasFolderToStartFrom(path)) return false;
  fs::create_directories(path, failed);
  return fs::is_directory(path, failed);
}

}  // namespace cinema
