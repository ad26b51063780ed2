#include "api/parameters.h"

#include "base/error.h"
#include "core/atom.h"
#include "core/text.h"

namespace quillmere::host {

using namespace cinema;

namespace {

const AtomParts& partsOf(const BaseList2D& node) {
  return HostSide<C4DAtom>::parts(node);
}

// `group`'s members, each followed by its own. An entry is shown once, however groups lie in each other.
void appendMembers(const std::vector<DescriptionEntry>& all, const DescID& group, std::vector<bool>& shown,
                   std::vector<DescriptionEntry>& ordered) {
  for (size_t i = 0; i < all.size(); ++i) {
    if (shown[i] || all[i].group != group) continue;
    shown[i] = true;
    ordered.push_back(all[i]);
    if (all[i].isGroup()) appendMembers(all, all[i].id, shown, ordered);
  }
}

}  // namespace

std::vector<DescriptionEntry> describe(const BaseList2D& node) {
  AutoAlloc<Description> description;
  DESCFLAGS_DESC flags = DESCFLAGS_DESC::NONE;
  const NodeData* data = partsOf(node).data.get();
  const bool given = data && data->GetDDescription(&node, description, flags);
  if (!given || (flags & DESCFLAGS_DESC::LOADED) != DESCFLAGS_DESC::LOADED) {
    throw Error("'" + toUtf8(node.GetName()) +
                "' gives no description of its parameters; is its module's res/ complete?");
  }
  const std::vector<DescriptionEntry>& all = HostSide<Description>::entries(*description);
  std::vector<DescriptionEntry> ordered;
  std::vector<bool> shown(all.size(), false);
  appendMembers(all, DescID(), shown, ordered);
  return ordered;
}

std::optional<GeData> readParameter(const BaseList2D& node, const DescID& id) {
  GeData value;
  if (!node.GetParameter(id, value, DESCFLAGS_GET::NONE)) return std::nullopt;
  return value;
}

bool writeParameter(BaseList2D& node, const DescID& id, const GeData& value) {
  return node.SetParameter(id, value, DESCFLAGS_SET::NONE);
}

bool isEditable(const BaseList2D& node, const DescriptionEntry& parameter) {
  if (!parameter.properties.GetBool(DESC_EDITABLE, true)) return false;
  const NodeData* data = partsOf(node).data.get();
  const GeData value = readParameter(node, parameter.id).value_or(GeData());
  return !data || data->GetDEnabling(&node, parameter.id, value, DESCFLAGS_ENABLE::NONE, &parameter.properties);
}

}  // namespace quillmere::host
