#include "sampling.h"

// Functions that are compiled once more for processors with AVX2, which are asked for when the program starts. Not
// where sanitizers aren't ready by then.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
#define QUILLMERE_FOR_AVX2 __attribute__((target_clones("avx2", "default")))
#else
#define QUILLMERE_FOR_AVX2
#endif

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

}  // namespace quillmere::render
