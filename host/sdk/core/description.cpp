#include "core/description.h"

#include <algorithm>

#include "core/running.h"
#include "core/substitutes.h"
#include "core/text.h"

namespace cinema {

using quillmere::host::DescriptionEntry;
using quillmere::host::RegisteredDescription;
using quillmere::host::running;

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

template <class Name>
Bool load(std::vector<DescriptionEntry>& entries, const Name& name) {
  entries.clear();
  const RegisteredDescription* found = running() ? running()->registry.description(name) : nullptr;
  if (found) entries = found->entries;
  return found != nullptr;
}

template <class Entries>
auto* find(Entries& entries, const DescID& id) {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [&](const DescriptionEntry& entry) { return entry.id == id; });
  return found == entries.end() ? nullptr : &*found;
}

bool isGroup(const DescriptionEntry& entry) {
  return entry.id[entry.id.GetDepth() - 1].dtype == DTYPE_GROUP;
}

}  // namespace

Bool Description::LoadDescription(const String& id) {
  return load(parts_->entries, quillmere::host::toUtf8(id));
}
Bool Description::LoadDescription(Int32 id) {
  return load(parts_->entries, id);
}

bool HostSide<Description>::setParameter(Description& description, const DescID& id, const BaseContainer& properties,
                                         const DescID& group) {
  std::vector<DescriptionEntry>& entries = description.parts_->entries;
  if (!id.IsPopulated() || id == group) return false;
  if (group.IsPopulated()) {
    const DescriptionEntry* holder = find(entries, group);
    if (!holder || !isGroup(*holder)) return false;
  }
  if (DescriptionEntry* present = find(entries, id)) {
    present->properties = properties;
    present->group = group;
  } else {
    entries.push_back({id, properties, group});
  }
  return true;
}

Bool Description::SetParameter(const DescID& id, const BaseContainer& param, const DescID& groupid) {
  return quillmere::host::operations().describeParameter(*this, id, param, groupid);
}

const BaseContainer* Description::GetParameter(const DescID& id, BaseContainer&, AtomArray*) const {
  const DescriptionEntry* present = find(parts_->entries, id);
  return present ? &present->properties : nullptr;
}

BaseContainer* Description::GetParameterI(const DescID& id, AtomArray*) {
  DescriptionEntry* present = find(parts_->entries, id);
  return present ? &present->properties : nullptr;
}

const DescID* Description::GetSingleDescID() {
  return nullptr;
}

}  // namespace cinema
