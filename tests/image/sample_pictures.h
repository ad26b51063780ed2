#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "image/image.h"

namespace quillmere::image::testing {

using File = std::vector<std::uint8_t>;

// A folder of its own for each test, removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  std::vector<std::string> names() const;

 private:
  std::filesystem::path path_;
};

File contentOf(const std::filesystem::path& file);

// Where the sample pictures are; their README.md says what they show.
std::filesystem::path samplePictures();

// All samples of a picture, as numbers.
std::vector<double> samplesOf(const Image& picture);

}  // namespace quillmere::image::testing
