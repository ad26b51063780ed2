#pragma once

#include <filesystem>

#include "sdk/api/document.h"
#include "values/guide_mode.h"
#include "values/picture_size.h"

namespace quillmere::app {

// Draws the document's current frame through `camera` (one of its own) with the host operations that the effect uses
// for its guide, and writes it as a PNG beside `file`, which it then replaces. Throws Failure.
void writeGuide(host::Document& document, cinema::BaseObject& camera, GuideMode mode, PictureSize size,
                const std::filesystem::path& file);

}  // namespace quillmere::app
