#pragma once

#include <cstdint>
#include <vector>

namespace quillmere::scene {

// A surveyed glTF file as the parser takes it: it refuses indices without data, which primitives compressed with Draco
// have; those lose the member "indices", that only repeats what the compressed data tells. `binary`: a .glb. Throws
// Error (the reason alone).
std::vector<std::uint8_t> forParser(std::vector<std::uint8_t> file, bool binary);

}  // namespace quillmere::scene
