#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "ordinary_file.h"

namespace quillmere::app {

// What keeps `bytes` from being written to `folder`, which the text calls `what`: too little free on its disk, or a
// limit of this process' files (ulimit -f). None when there is room, and when that can't be told.
std::optional<Obstacle> lackOfRoom(const std::string& what, const std::filesystem::path& folder, std::uintmax_t bytes);

}  // namespace quillmere::app
