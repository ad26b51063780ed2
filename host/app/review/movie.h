#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "values/frames.h"
#include "values/output_pattern.h"

namespace quillmere::app {

// Finished frames as a film, which the machine's ffmpeg encodes.
struct MoviePlan {
  OutputPattern pictures;
  std::optional<FrameSet> frames;  // none: all from the first to the last that are there
  FrameRate rate;
  std::filesystem::path file;        // its ending chooses the kind of film
  std::vector<std::string> options;  // ffmpeg's own, for the output; they go before ours
};

// The frames whose files are there. Throws Failure when there are none, or when the pattern has no place for a number.
FrameSet framesThere(const OutputPattern& pictures);

// Encodes beside `file`, which it then replaces; nothing is left there when it fails, or when `stop` says true. Returns
// the frames that are in it. Throws Failure: no ffmpeg, frames that are missing in between, or what ffmpeg says.
FrameSet makeMovie(const MoviePlan& plan, const std::function<bool()>& stop);

}  // namespace quillmere::app
