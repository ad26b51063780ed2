#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// The frames of a render as a command line says them: which ones, how large, drawn how, written where.
namespace quillmere::app {

// Frames first, first + step, … up to last. `last` is at least `first`, `step` at least 1.
struct FrameRange {
  std::int32_t first = 0, last = 0, step = 1;

  std::int64_t count() const { return (std::int64_t{last} - first) / step + 1; }
  // The frame at `index`, which must lie in 0 … count() - 1.
  std::int32_t at(std::int64_t index) const { return static_cast<std::int32_t>(first + index * step); }
};

// Reads "A", "A-B" or "A-BxSTEP"; A and B may be negative ("-10--2x4"). Throws Failure (usage).
FrameRange parseFrameRange(const std::string& text);

inline constexpr int kMostFps = 100000;  // frames per second of a scene's animation, from 1

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

enum class FileFormat { Png8, Png16, Exr };

// Where the frames go and as what: '#'s in the file's name stand for the frame number, padded with zeros to as many
// digits (frame -7 as "####" is "-0007"). The name's end chooses the format: .png has 8 bits a channel, .16.png has
// 16, .exr has floats; upper and lower case are alike.
class OutputPattern {
 public:
  // Throws Failure (usage) for any other ending and for a pattern without a file name.
  static OutputPattern parse(const std::string& text);

  FileFormat format() const { return format_; }
  std::filesystem::path folder() const { return folder_; }  // may be empty: the working directory
  bool numbersFrames() const { return name_.find('#') != std::string::npos; }
  // With a "_####" put before the ending when there is no '#', so that several frames don't share one file.
  OutputPattern numberingFrames() const;
  std::filesystem::path fileFor(std::int32_t frame) const;

 private:
  std::filesystem::path folder_;
  std::string name_, ending_;  // the file's name in two pieces
  FileFormat format_ = FileFormat::Png8;
};

}  // namespace quillmere::app
