#pragma once

#include <filesystem>
#include <string>

#include "base/json.h"

namespace quillmere::app {

// Brings the copy of the view state beside it up to date; where the effect's writing came out cut off, as on a full
// disk, puts the copy back, and with it the style that the person has locked. What a viewer writes while a frame is
// rendered is in no copy yet. Never throws: a copy that can't be written costs no frame.
void keepViewState(const std::filesystem::path& writeDirectory) noexcept;

inline constexpr const char* kLockedStyle = "locked_style_image";  // the member that viewers write

// The object in the state; an empty one where there is none that can be read.
Json viewStateIn(const std::filesystem::path& writeDirectory);

// The style image that a viewer has locked; empty without one.
std::string lockedStyle(const std::filesystem::path& writeDirectory);

}  // namespace quillmere::app
