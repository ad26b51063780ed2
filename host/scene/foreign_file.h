#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace quillmere::scene {

// What a file that is no glTF is instead, by its content, else by the ending of its name, and how to get a glTF of it:
// "it is an FBX file; ...". Empty for glTF, whole or damaged, and for what is not known.
std::string foreignFile(std::span<const std::uint8_t> content, const std::filesystem::path& file);

}  // namespace quillmere::scene
