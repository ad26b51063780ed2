#pragma once

#include <filesystem>
#include <string>

#include "image/image.h"
#include "values/output_pattern.h"

namespace quillmere::app {

// Writes a frame (Float RGBA) beside `file`, which it then replaces; without its alpha channel where that is opaque
// throughout. `record` tells what made it (empty: nothing does); a PNG carries it, an EXR has it in the side file
// `<file>.json`. Throws Error.
void writeFrame(const std::filesystem::path& file, FileFormat format, const image::Image& picture,
                const std::string& record);

}  // namespace quillmere::app
