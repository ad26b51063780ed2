#pragma once

#include "core/registry.h"
#include "resource/resource_folder.h"

namespace quillmere::host {

// The entries of a description: first those of the descriptions it includes, then its own, which may stand in groups
// of the former. Throws resource::Damage for what the files leave open and for what this host doesn't model.
std::vector<DescriptionEntry> loadDescription(const resource::DescriptionFiles& files, const Registry& registry);

}  // namespace quillmere::host
