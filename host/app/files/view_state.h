#pragma once

#include <filesystem>

namespace quillmere::app {

// Brings the copy of the view state beside it up to date; where the effect's writing came out cut off, as on a full
// disk, puts the copy back, and with it the style that the person has locked. What a viewer writes while a frame is
// rendered is in no copy yet. Never throws: a copy that can't be written costs no frame.
void keepViewState(const std::filesystem::path& writeDirectory) noexcept;

}  // namespace quillmere::app
