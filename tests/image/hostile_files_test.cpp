#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "image/file_formats.h"
#include "refusal.h"
#include "sample_pictures.h"

namespace quillmere::image::testing {

namespace {

std::vector<std::filesystem::path> soundFiles() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(samplePictures())) {
    if (entry.is_regular_file() && entry.path().extension() != ".md") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// Whether the file is read; anything but a picture and an Error with its name fails the test.
bool isRead(const File& file) {
  try {
    const Image picture = decode(file, "hostile");
    EXPECT_FALSE(picture.empty());
    return true;
  } catch (const Error& error) {
    EXPECT_EQ(std::string(error.what()).find("cannot read picture 'hostile': "), 0U) << error.what();
    EXPECT_NE(std::string(error.what()).find("; "), std::string::npos) << "no remedy: " << error.what();
    return false;
  }
}

// The last bytes may be unneeded, and of these files even more, as they hold data that isn't shown.
bool hidesData(const std::filesystem::path& file) {
  return file.filename() == "exr-large-data.exr" || file.filename() == "exr-tiles.exr";
}

}  // namespace

TEST(HostileFiles, ATruncatedPictureIsRefusedInEveryFormat) {
  for (const auto& path : soundFiles()) {
    const File file = contentOf(path);
    ASSERT_TRUE(isRead(file)) << path;
    const std::size_t needed = file.size() * (hidesData(path) ? 4 : 9) / 10;
    for (std::size_t length = 0; length < file.size(); length += length < needed ? 1 + file.size() / 150 : 1) {
      const bool read = isRead({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)});
      ASSERT_FALSE(read && length < needed) << path << " of " << length;
    }
  }
}

TEST(HostileFiles, FlippedBytesGiveAnErrorOrAPicture) {
  std::mt19937 random(11);
  for (const auto& path : soundFiles()) {
    SCOPED_TRACE(path);
    const File file = contentOf(path);
    for (int round = 0; round < 150; ++round) {
      File flipped = file;
      // Headers are where it hurts: half of the flips fall into the first or last 400 bytes.
      const std::size_t edge = std::min<std::size_t>(file.size(), 400);
      for (int flip = 0; flip < 1 + round % 4; ++flip) {
        const std::size_t anywhere = random() % file.size(), near = random() % edge;
        const std::size_t place = flip % 2 == 0 ? anywhere : round % 2 == 0 ? near : file.size() - 1 - near;
        flipped[place] = static_cast<std::uint8_t>(random());
      }
      isRead(flipped);
    }
  }
}

TEST(HostileFiles, AHugePictureMayHaveFewScans) {
  File file = contentOf(samplePictures() / "refused" / "jpeg-many-scans-of-many-pixels.jpg");
  file.resize(250'000);  // enough for its size
  EXPECT_THAT(refusalOf<Error>([&file] { decode(file, "huge"); }), ::testing::HasSubstr("it has more than 42 scans"));
}

TEST(HostileFiles, WhatIsNoPictureIsNamedWithItsReason) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo((folder / "pipe.png").c_str(), 0600), 0);
  const std::filesystem::path refused = samplePictures() / "refused";
  const std::pair<std::filesystem::path, const char*> cases[] = {
      {folder / "missing.png", "there is no such file; "},
      {folder / "pipe.png", "it is not a regular file"},
      {refused, "it is not a regular file"},
      {refused / "empty.png", "it is empty"},
      {refused / "text.png", "it is neither PNG"},
      {refused / "png-no-width.png", "Invalid IHDR"},
      {refused / "png-too-wide.png", "it has 16001 x 1 pixels; scale it"},
      {refused / "png-huge.png", "it has 2147483647 x 2147483647 pixels"},
      {refused / "png-bomb.png", "it is too short for the size that it claims"},
      {refused / "jpeg-endless-scans.jpg", "it has more than 100 scans"},
      {refused / "jpeg-too-short.jpg", "it is too short for the size that it claims"},
      {refused / "exr-no-colours.exr", "it has neither R, G, B nor Y among its channels (P.x, P.y, P.z)"},
      {refused / "exr-data-outside.exr", "its data lies outside"},
  };
  for (const auto& [file, reason] : cases) {
    const std::string start = "cannot read picture '" + file.string() + "': " + reason;
    EXPECT_EQ(refusalOf<Error>([&file = file] { read(file); }).substr(0, start.size()), start);
  }
}

}  // namespace quillmere::image::testing
