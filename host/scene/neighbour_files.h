#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quillmere::scene {

// Most bytes that a scene's own file, or all files that it names, may have.
inline constexpr std::uintmax_t kMostFileBytes = std::uintmax_t{2} << 30U;

// Throws Error (the reason alone) unless `file` is a regular file of at most kMostFileBytes that can be read.
std::vector<std::uint8_t> readWhole(const std::filesystem::path& file);

// The file that a relative reference of a scene in `folder` means; percent escapes are decoded. A scene may come from
// anywhere, so it may name files beside itself and in folders below, and nothing else: schemes, absolute paths and
// ".." that leaves the folder throw Error (the reason alone).
std::filesystem::path resolveReference(const std::filesystem::path& folder, const std::string& uri);

}  // namespace quillmere::scene
