#pragma once

// What the host has to know of the effect although nothing that it loads tells it: source/ says the same. Each stands
// here alone.
namespace quillmere::app {

inline constexpr int kEffectId = 1060500;  // under which the module registers it

// Its status when its helper has given no reason.
inline constexpr const char* kUnexplainedFailure = "Quillmere render failed";

}  // namespace quillmere::app
