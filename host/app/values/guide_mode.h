#pragma once

#include <array>
#include <string_view>

namespace quillmere::app {

// How a guide image is drawn, numbered as the effect's parameter has it.
enum class GuideMode { QuickShading = 0, FinalRender = 1 };

// What command lines and records call them, by their numbers.
inline constexpr std::array<const char*, 2> kGuideModeWords{"quick", "final"};

inline const char* wordFor(GuideMode mode) {
  return kGuideModeWords[mode == GuideMode::FinalRender ? 1 : 0];
}

// Quick for a word that is none of them.
inline GuideMode guideModeCalled(std::string_view word) {
  return word == wordFor(GuideMode::FinalRender) ? GuideMode::FinalRender : GuideMode::QuickShading;
}

}  // namespace quillmere::app
