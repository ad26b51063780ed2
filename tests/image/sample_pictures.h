#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "image/image.h"
#include "temporary_folder.h"

namespace quillmere::image::testing {

using File = std::vector<std::uint8_t>;

inline File contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Where the sample pictures are; their README.md says what they show.
inline std::filesystem::path samplePictures() {
  return QUILLMERE_TEST_PICTURES;
}

// All samples of a picture, as numbers.
inline std::vector<double> samplesOf(const Image& picture) {
  const auto all = [&](auto type) {
    const auto* first = picture.row<decltype(type)>(0);
    return std::vector<double>(first, first + picture.width() * picture.height() * picture.channels());
  };
  if (picture.sample() == Sample::Byte) return all(std::uint8_t{});
  return picture.sample() == Sample::Word ? all(std::uint16_t{}) : all(float{});
}

}  // namespace quillmere::image::testing
