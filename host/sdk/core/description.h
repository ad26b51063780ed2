#pragma once

#include <vector>

#include "c4d.h"

namespace quillmere::host {

// One parameter, or group, of a description.
struct DescriptionEntry {
  cinema::DescID id;
  cinema::BaseContainer properties;  // DESC_
  cinema::DescID group;              // where it stands; empty at the top

  bool isGroup() const { return id[id.GetDepth() - 1].dtype == cinema::DTYPE_GROUP; }
};

}  // namespace quillmere::host

namespace cinema {

struct Description::Parts {
  std::vector<quillmere::host::DescriptionEntry> entries;  // in the order in which they were added
};

template <>
struct HostSide<Description> {
  static std::vector<quillmere::host::DescriptionEntry>& entries(Description& description) {
    return description.parts_->entries;
  }
};

}  // namespace cinema
