#include "sample_pictures.h"

#include <fstream>
#include <iterator>

namespace quillmere::image::testing {

namespace fs = std::filesystem;

File contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

fs::path samplePictures() {
  return QUILLMERE_TEST_PICTURES;
}

std::vector<double> samplesOf(const Image& picture) {
  const auto all = [&](auto type) {
    const auto* first = picture.row<decltype(type)>(0);
    return std::vector<double>(first, first + picture.width() * picture.height() * picture.channels());
  };
  if (picture.sample() == Sample::Byte) return all(std::uint8_t{});
  return picture.sample() == Sample::Word ? all(std::uint16_t{}) : all(float{});
}

}  // namespace quillmere::image::testing
