#pragma once

// Functions that are compiled once more for processors with AVX2, which are asked for when the program starts: loops
// over the sixteen rays of a packet take half the time or less. Nothing is contracted to fused operations, so they
// tell the same numbers. What they fill is __restrict, as nothing that they read lies there: else such a loop stays as
// it is. Not where sanitizers aren't ready by then.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
#define QUILLMERE_FOR_AVX2 __attribute__((target_clones("avx2", "default")))
#else
#define QUILLMERE_FOR_AVX2
#endif
