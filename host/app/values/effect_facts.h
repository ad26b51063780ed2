#pragma once

#include <cstdint>

// What the host has to know of the effect and its helper although nothing that it loads tells it: source/ and python/
// say the same. Each stands here alone.
namespace quillmere::app {

inline constexpr int kEffectId = 1060500;  // under which the module registers it

// Its status when its helper has given no reason.
inline constexpr const char* kUnexplainedFailure = "Quillmere render failed";

// The largest picture that its helper makes. A side's limit is image::kMaxSide for both.
inline constexpr std::int64_t kMostPixels = 64'000'000;

}  // namespace quillmere::app
