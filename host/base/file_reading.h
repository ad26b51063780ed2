#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Whole files that others have written. Only ordinary files are read: a pipe could keep us waiting, a device need not
// end. They are opened without waiting and checked on the open descriptor, so what is checked is what is read.
namespace quillmere {

// At most `most` bytes, a multiple of 1 MiB. Throws Error (the reason alone) for a file that is missing, not ordinary,
// larger, or that can't be read to its end, and, before anything is read, for one of 256 MiB or more of which all but a
// sixteenth is holes. Links are followed.
std::vector<std::uint8_t> readBytes(const std::filesystem::path& file, std::uintmax_t most);
// The same for a file of any size, of which no more than the first `most` bytes are read.
std::vector<std::uint8_t> readStart(const std::filesystem::path& file, std::uintmax_t most);
std::string readText(const std::filesystem::path& file, std::uintmax_t most);

}  // namespace quillmere
