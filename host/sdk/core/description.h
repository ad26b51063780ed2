#pragma once

#include <vector>

#include "module/registry.h"

namespace cinema {

struct Description::Parts {
  std::vector<quillmere::host::DescriptionEntry> entries;  // in the order in which they were added
};

template <>
struct HostSide<Description> {
  static const std::vector<quillmere::host::DescriptionEntry>& entries(const Description& description) {
    return description.parts_->entries;
  }
};

}  // namespace cinema
