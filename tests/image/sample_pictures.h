#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "image/image.h"
#include "temporary_folder.h"

namespace quillmere::image::testing {

using File = std::vector<std::uint8_t>;

File contentOf(const std::filesystem::path& file);

// Where the sample pictures are; their README.md says what they show.
std::filesystem::path samplePictures();

// All samples of a picture, as numbers.
std::vector<double> samplesOf(const Image& picture);

}  // namespace quillmere::image::testing
