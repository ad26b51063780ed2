#pragma once

#include <string>

#include "c4d_string.h"

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
