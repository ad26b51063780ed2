#pragma once

#include <vector>

#include "core/registry.h"

namespace cinema {

struct Description::Parts {
  std::vector<quillmere::host::DescriptionEntry> entries;  // in the order in which they were added
};

template <>
struct HostSide<Description> {
  static const std::vector<quillmere::host::DescriptionEntry>& entries(const Description& description) {
    return description.parts_->entries;
  }
  static bool setParameter(Description& description, const DescID& id, const BaseContainer& properties,
                           const DescID& group);
};

}  // namespace cinema
