#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillmere::image {

// The text (UTF-8) that stands under `keyword` in a PNG file, in a chunk of any of the three kinds; of several the
// first. None when the file is no PNG or has none. The whole file is checked but for its pixels; a text may have up to
// 32 MiB, and of more than 16 texts the later ones don't count. Throws Error for a file that is missing, no file,
// unreadable, damaged or cut off.
std::optional<std::string> pngText(const std::filesystem::path& file, const std::string& keyword);

}  // namespace quillmere::image
