#pragma once

#include "core/registry.h"
#include "resource/resource_folder.h"

namespace quillmere::host {

// The entries of a description: first those of the descriptions it includes, then its own groups, which may stand in
// those of the former. Throws Error for what the files leave open.
std::vector<DescriptionEntry> loadDescription(const resource::DescriptionFiles& files, const Registry& registry);

}  // namespace quillmere::host
