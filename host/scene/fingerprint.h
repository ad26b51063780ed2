#pragma once

#include <filesystem>
#include <string>

namespace quillmere::scene {

// Tells whether a scene is still the same: a hash of the content of its file and of every file beside it that it refers
// to, buffers and images, whether they are shown or not. Files' names and times don't count, nor does what is missing.
// Of a file that can't be loaded, its content alone. Throws Error when the scene's own file can't be read.
std::string fingerprint(const std::filesystem::path& file);

}  // namespace quillmere::scene
