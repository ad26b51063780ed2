#pragma once

#include <optional>
#include <vector>

#include "core/description.h"

// A node's parameters as an application's panel reads, shows and writes them.
namespace quillmere::host {

// What the node shows at this moment, in a panel's order: each group is followed by its members. Throws Error when the
// node gives no description.
QM_HOST_API std::vector<DescriptionEntry> describe(const cinema::BaseList2D& node);

// The node's own answer, or where it has none what its container holds. Nothing when there is no value, or when the
// node refuses.
QM_HOST_API std::optional<cinema::GeData> readParameter(const cinema::BaseList2D& node, const cinema::DescID& id);

// Hands the value to the node, which may keep it in its own way, or else puts it into the container. False when the
// node refuses. Limits and types are for the caller to check.
QM_HOST_API bool writeParameter(cinema::BaseList2D& node, const cinema::DescID& id, const cinema::GeData& value);

// Whether the parameter can be edited now: the node doesn't grey it out and its description doesn't forbid it.
QM_HOST_API bool isEditable(const cinema::BaseList2D& node, const DescriptionEntry& parameter);

}  // namespace quillmere::host
