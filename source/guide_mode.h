#pragma once

#include "c4d.h"

namespace quillmere {

// How the guide image is made; the values are those of QUILLMERE_GUIDE_MODE.
enum class GuideMode : cinema::Int32 { QuickShading = 0, FinalRender = 1 };

// Any number that is no mode acts as quick shading.
constexpr GuideMode GuideModeOf(cinema::Int32 number) {
  return number == cinema::Int32(GuideMode::FinalRender) ? GuideMode::FinalRender : GuideMode::QuickShading;
}

constexpr const char* GuideModeLabel(GuideMode mode) {
  return mode == GuideMode::FinalRender ? "Final Render" : "Quick Shading";
}

}  // namespace quillmere
