#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

// What the host has to know of the effect although nothing that it loads tells it: source/ says the same. Each stands
// here alone.
namespace quillmere::app {

inline constexpr int kEffectId = 1060500;  // under which the module registers it

// Its status when its helper has given no reason.
inline constexpr const char* kUnexplainedFailure = "Quillmere render failed";

// Its exchange files: request, status, response and guide of each frame.
inline std::filesystem::path runtimeFolder(const std::filesystem::path& writeDirectory) {
  return writeDirectory / "quillmere" / "c4d" / "runtime";
}

inline std::filesystem::path guideFile(const std::filesystem::path& writeDirectory, std::int32_t frame) {
  return runtimeFolder(writeDirectory) / ("reference_" + std::to_string(frame) + ".png");
}

}  // namespace quillmere::app
