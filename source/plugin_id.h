#pragma once

#include "c4d.h"

namespace quillmere {

// The effect's registration, by which the module also finds its own folder.
constexpr cinema::Int32 kPluginId = 1060500;

// The command that opens the preview, where another module has registered one under this number.
constexpr cinema::Int32 kPreviewCommandId = 1060501;

// The node's static description in res/description.
constexpr char kDescriptionName[] = "VPquillmere";

}  // namespace quillmere
