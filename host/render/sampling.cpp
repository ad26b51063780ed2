#include "sampling.h"

#include "processors.h"

namespace quillmere::render {

QUILLMERE_FOR_AVX2
void findSamplePoints(const std::uint32_t (&indices)[16], std::uint32_t seed, SamplePoints& points) {
  const std::uint32_t first = mixed(seed), second = mixed(seed + 1), third = mixed(seed + 2);
  for (int i = 0; i < 16; ++i) {
    const std::uint32_t shuffled = reversedBits(owenScrambled(reversedBits(indices[i]), first));
    points.x[i] = unitFloat(reversedBits(owenScrambled(shuffled, second)));
    points.y[i] = unitFloat(reversedBits(owenScrambled(secondDimension(shuffled), third)));
  }
}

QUILLMERE_FOR_AVX2
void findRandomBits(const std::uint32_t (&indices)[16], std::uint32_t seed, std::uint32_t (&bits)[16]) {
  const std::uint32_t first = mixed(seed);
  for (int i = 0; i < 16; ++i) bits[i] = mixed(indices[i] ^ first);
}

}  // namespace quillmere::render
