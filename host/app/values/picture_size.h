#pragma once

#include <string>

namespace quillmere::app {

struct PictureSize {
  int width = 1024, height = 576;  // pixels, 1 to image::kMaxSide
};

// Reads "WIDTHxHEIGHT". Throws Failure (usage).
PictureSize parsePictureSize(const std::string& text);

}  // namespace quillmere::app
