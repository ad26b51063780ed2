#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillmere::image {

// The text (UTF-8) that stands under `keyword` before the pixels of a PNG file, in a chunk of any of the three kinds;
// of several the first. None when the file is no PNG or has none. What follows is not read. A text may have up to 32
// MiB when it is unpacked, and of more than 16 texts the later ones don't count. Throws Error for a file that is
// missing, no file, unreadable, or damaged or cut off before its pixels.
std::optional<std::string> pngText(const std::filesystem::path& file, const std::string& keyword);

}  // namespace quillmere::image
