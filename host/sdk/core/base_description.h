#pragma once

#include "core/registry.h"

namespace quillmere::host {

// The description that every effect includes. The host brings it: the group for the effect's own parameters.
inline constexpr const char* kBaseDescriptionName = "VPbase";
RegisteredDescription baseDescription();

}  // namespace quillmere::host
