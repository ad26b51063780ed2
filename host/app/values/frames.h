#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "frame_set.h"

// The frames of a render as a command line says them: at what time, how large, drawn how.
namespace quillmere::app {

inline constexpr int kMostFps = 100000;  // frames per second of a scene's animation, from 1

// Frames per second as a ratio of whole numbers, from 1 to kMostFps. Frame N shows the scene at N divided by it.
struct FrameRate {
  std::int32_t frames = 30, seconds = 1;  // so many frames in so many seconds

  // The nearest whole number: the host's documents count with that.
  int whole() const { return (frames + seconds / 2) / seconds; }
  double secondsAt(std::int32_t frame) const { return static_cast<double>(frame) * seconds / frames; }
  std::string text() const;  // "30" or "24000/1001"
};

// Reads "24", "23.976", "12.5" or "24000/1001". 23.976, 29.97 and the like, rounded to at least two digits, mean the
// rates of video that they stand for: 24000/1001, 30000/1001. Throws Failure (usage).
FrameRate parseFrameRate(const std::string& text);

inline constexpr int kLongestTurn = 1000000;  // frames of a turntable, from 2

// When frames are.
struct FrameClock {
  FrameRate rate;
  std::optional<double> time;  // a second to be shown whatever the frame's number is

  double secondsAt(std::int32_t frame) const { return time ? *time : rate.secondsAt(frame); }
};

// Reads a number of seconds and the frame at that time. Throws Failure (usage).
double parseSeconds(const std::string& text);
std::int32_t frameAt(double seconds, const FrameRate& rate);

struct PictureSize {
  int width = 1024, height = 576;  // pixels, 1 to image::kMaxSide
};

// Reads "WIDTHxHEIGHT". Throws Failure (usage).
PictureSize parsePictureSize(const std::string& text);

// How a guide image is drawn, numbered as the effect's parameter has it.
enum class GuideMode { QuickShading = 0, FinalRender = 1 };

// What command lines and records call them, by their numbers.
inline constexpr std::array<const char*, 2> kGuideModeWords{"quick", "final"};

const char* wordOf(GuideMode mode);
// Quick for a word that is none of them.
GuideMode guideModeOf(std::string_view word);

}  // namespace quillmere::app
