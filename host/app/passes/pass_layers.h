#pragma once

#include <filesystem>

#include "pass_pictures.h"
#include "sdk/api/document.h"

namespace quillmere::app {

// Writes the passes that were drawn as one EXR for compositors: docs/passes.md lists its layers. With the colour, R, G,
// B and A are the guide's, of a final one the light in its picture, which must stand on black. Throws Error.
void writeLayers(const std::filesystem::path& file, const host::GuidePasses& drawn, const SceneNames& names);

}  // namespace quillmere::app
