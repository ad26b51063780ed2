#include "core/description.h"

#include <algorithm>
#include <array>

#include "core/substitutes.h"

namespace cinema {

using quillmere::host::DescriptionEntry;

Description::Description() : parts_(new Parts) {}
Description::~Description() {
  delete parts_;
}

Description* Description::Alloc() {
  return new Description;
}

void Description::Free(Description*& description) {
  delete description;
  description = nullptr;
}

namespace {

template <class Entries>
auto* find(Entries& entries, const DescID& id) {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [&](const DescriptionEntry& entry) { return entry.id == id; });
  return found == entries.end() ? nullptr : &*found;
}

bool setParameter(Description& description, const DescID& id, const BaseContainer& properties, const DescID& group) {
  std::vector<DescriptionEntry>& entries = HostSide<Description>::entries(description);
  if (!id.IsPopulated() || id == group) return false;
  if (group.IsPopulated()) {
    const DescriptionEntry* holder = find(entries, group);
    if (!holder || !holder->isGroup()) return false;
  }
  if (DescriptionEntry* present = find(entries, id)) {
    present->properties = properties;
    present->group = group;
  } else {
    entries.push_back({id, properties, group});
  }
  return true;
}

[[maybe_unused]] const bool inTable = (quillmere::host::operations().describeParameter = setParameter, true);

}  // namespace

Bool Description::SetParameter(const DescID& id, const BaseContainer& param, const DescID& groupid) {
  return quillmere::host::operations().describeParameter(*this, id, param, groupid);
}

const BaseContainer* Description::GetParameter(const DescID& id, BaseContainer&, AtomArray*) const {
  const DescriptionEntry* present = find(parts_->entries, id);
  return present ? &present->properties : nullptr;
}

namespace {

struct DataType {
  Int32 type;
  Int32 animate;
};

constexpr std::array kKnown = {
    DataType{DTYPE_GROUP, DESC_ANIMATE_OFF},      DataType{DTYPE_BUTTON, DESC_ANIMATE_OFF},
    DataType{DTYPE_STATICTEXT, DESC_ANIMATE_OFF}, DataType{DTYPE_LONG, DESC_ANIMATE_ON},
    DataType{DTYPE_REAL, DESC_ANIMATE_ON},        DataType{DTYPE_STRING, DESC_ANIMATE_ON},
    DataType{DTYPE_FILENAME, DESC_ANIMATE_ON},    DataType{DTYPE_BASELISTLINK, DESC_ANIMATE_ON},
    DataType{DTYPE_BOOL, DESC_ANIMATE_ON},
};

}  // namespace

// The data type's own gui isn't named: a panel shows it wherever DESC_CUSTOMGUI is absent.
BaseContainer GetCustomDataTypeDefault(Int32 type) {
  BaseContainer properties(type);
  const auto known = std::find_if(kKnown.begin(), kKnown.end(), [&](const DataType& one) { return one.type == type; });
  if (known != kKnown.end()) properties.SetInt32(DESC_ANIMATE, known->animate);
  return properties;
}

}  // namespace cinema
