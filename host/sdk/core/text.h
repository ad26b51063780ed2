#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "c4d.h"

struct maxon::String::Parts {
  std::u32string points;  // never empty
};

namespace cinema {

template <>
struct HostSide<maxon::String> {
  static const std::u32string& points(const maxon::String& text);
  static maxon::String make(std::u32string points);
};

}  // namespace cinema

// The host API's texts and file names as those of the standard library.
namespace quillmere::host {

QM_HOST_API std::string toUtf8(const maxon::String& text);
// A byte that is no part of valid UTF-8 becomes U+FFFD; nothing is cut.
QM_HOST_API cinema::String fromUtf8(std::string_view utf8);

QM_HOST_API std::filesystem::path pathOf(const cinema::Filename& name);
QM_HOST_API cinema::Filename filenameOf(const std::filesystem::path& path);

}  // namespace quillmere::host
