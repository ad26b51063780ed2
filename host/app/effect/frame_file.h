#pragma once

#include <filesystem>

#include "image/image.h"
#include "options/output_pattern.h"

namespace quillmere::app {

// Writes a frame (Float RGBA) beside `file`, which it then replaces; without its alpha channel where that is opaque
// throughout. Throws image::Error.
void writeFrame(const std::filesystem::path& file, FileFormat format, const image::Image& picture);

}  // namespace quillmere::app
