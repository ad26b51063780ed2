#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "image/image.h"

namespace quillmere::app {

// A finished frame as a sheet shows it.
struct SheetEntry {
  std::filesystem::path picture;
  std::filesystem::path guide;  // empty: none that is known to be this picture's
  std::string caption;
};

// What the picture's record tells of it: its frame and camera for the caption, else the file's name, and its guide as
// long as that lies where it was made and no later render has drawn over it. Throws Error for a picture that is
// missing.
SheetEntry sheetEntryOf(const std::filesystem::path& picture);

struct SheetLayout {
  int columns = 0;  // entries in a row; 0: as many as make the sheet about as wide as high
  int width = 480;  // pixels of each picture, which keeps its shape
};

// All entries from left to right and from the top, the guide to the left of its result wherever an entry has one.
// Guides are asked for by one entry for all: without any, results stand alone. Rows are as high as the first picture
// asks for. Throws Failure (usage) for a sheet beyond the largest picture, and Error for a picture that can't be read.
image::Image contactSheet(const std::vector<SheetEntry>& entries, const SheetLayout& layout);

}  // namespace quillmere::app
