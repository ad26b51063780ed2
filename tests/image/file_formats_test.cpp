#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>

#include "image/conversion.h"
#include "image/file_formats.h"
#include "image/scaling.h"
#include "refusal.h"
#include "sample_pictures.h"

namespace quillmere::image::testing {
namespace {

TEST(Reading, EveryLayoutOfThePatternGivesItsValues) {
  struct Case {
    const char* file;
    int channels;
    Sample sample;
    int first = 0;               // what the first channel adds to the pattern
    Area data = {0, 0, 19, 17};  // zero outside
  };
  for (const auto& [file, channels, sample, first, data] : {
           Case{"png-interlaced.png", 3, Sample::Byte},
           Case{"webp-lossless.webp", 3, Sample::Byte},
           Case{"tiff-lzw.tif", 3, Sample::Byte},
           Case{"tiff-planes.tif", 4, Sample::Byte},
           Case{"tiff-tiles.tif", 4, Sample::Byte},
           Case{"tiff-16-bit.tif", 1, Sample::Word},
           Case{"tiff-16-bit-tiled-planes.tif", 3, Sample::Word},
           Case{"tiff-half.tif", 3, Sample::Float},
           Case{"tiff-float.tif", 3, Sample::Float},
           Case{"tiff-float-tiles.tif", 2, Sample::Float},
           Case{"tiff-double.tif", 3, Sample::Float},
           Case{"exr-half.exr", 3, Sample::Float},
           Case{"exr-depth.exr", 4, Sample::Float, 1},   // Z, R, G, B, A
           Case{"exr-luminance.exr", 2, Sample::Float},  // Y, A
           Case{"exr-whole-numbers.exr", 1, Sample::Float},
           Case{"exr-layers.exr", 3, Sample::Float, 1},  // depth.Z, main.R, main.G, main.B
           Case{"exr-moved.exr", 3, Sample::Float},      // windows away from zero
           Case{"exr-small-data.exr", 4, Sample::Float, 0, {3, 3, 6, 4}},
           Case{"exr-large-data.exr", 3, Sample::Float},
           Case{"exr-tiles.exr", 3, Sample::Float},  // and a data window that is larger than the display window
       }) {
    SCOPED_TRACE(file);
    const Image picture = read(samplePictures() / file);
    EXPECT_EQ(picture.channels(), channels);
    EXPECT_EQ(picture.sample(), sample);
    std::vector<double> expected;
    for (int i = 0; i < 19 * 17 * channels; ++i) {
      const int x = i / channels % 19, y = i / channels / 19;
      const bool inside = x >= data.left && x < data.left + data.width && y >= data.top && y < data.top + data.height;
      expected.push_back(inside ? x + 10 * y + i % channels + first : 0);
    }
    EXPECT_EQ(samplesOf(picture), expected);
  }
}

TEST(Reading, OtherColoursAndPackedSamplesAreConverted) {
  struct Case {
    const char* file;
    int width, height, channels;
    std::vector<double> samples;  // repeated over the picture
    double tolerance = 0;
  };
  for (const auto& [file, width, height, channels, samples, tolerance] : {
           Case{"png-1-bit.png", 3, 1, 1, {255, 0, 255}},
           Case{"png-2-bit.png", 3, 1, 1, {0, 85, 255}},
           Case{"png-4-bit.png", 2, 2, 1, {0, 255, 17, 34}},
           Case{"png-grey-alpha.png", 1, 1, 2, {7, 9}},
           Case{"png-palette.png", 3, 1, 4, {4, 5, 6, 255, 1, 2, 3, 7, 4, 5, 6, 255}},
           Case{"png-16-bit.png", 1, 1, 3, {0x0102, 0x0304, 0x0506}},
           Case{"jpeg-grey.jpg", 19, 17, 1, {90}, 1},
           Case{"jpeg-progressive.jpg", 19, 17, 3, {200, 40, 90}, 2},
           Case{"jpeg-rgb.jpg", 19, 17, 3, {200, 40, 90}, 1},
           Case{"jpeg-cmyk.jpg", 19, 17, 3, {100, 20, 128}, 2},  // with an Adobe marker: 200, 40, 255 times 128
           Case{"jpeg-ycck.jpg", 19, 17, 3, {100, 20, 128}, 2},
           Case{"jpeg-turned.jpg", 24, 8, 1, {128}, 1},  // its metadata asks for a quarter turn
           Case{"webp-alpha.webp", 19, 17, 4, {10, 200, 30, 99}},
           Case{"webp-lossy.webp", 19, 17, 4, {10, 200, 30, 99}, 6},
           Case{"tiff-palette.tif", 2, 1, 3, {255, 0, 0, 0, 0, 255}},
           Case{"tiff-4-bit-palette.tif", 2, 1, 3, {0, 255, 0, 0, 0, 255}},
           Case{"tiff-1-bit.tif", 2, 1, 3, {0, 0, 0, 255, 255, 255}},
           Case{"tiff-white-is-zero.tif", 2, 1, 1, {255, 55}},
           Case{"tiff-cmyk.tif", 2, 1, 3, {0, 255, 255, 0, 0, 0}},
           Case{"tiff-multiplied-alpha.tif", 2, 1, 4, {128, 0, 255, 102, 9, 9, 9, 255}},
           Case{"tiff-extra-sample.tif", 2, 1, 3, {1, 2, 3, 4, 5, 6}},
           Case{"exr-chroma.exr", 20, 18, 3, {0.5, 0.25, 0.125}, 0.005},
       }) {
    SCOPED_TRACE(file);
    const Image picture = read(samplePictures() / file);
    EXPECT_EQ(picture.width(), width);
    EXPECT_EQ(picture.height(), height);
    ASSERT_EQ(picture.channels(), channels);
    const std::vector<double> found = samplesOf(picture);
    for (std::size_t i = 0; i < found.size(); ++i) ASSERT_NEAR(found[i], samples[i % samples.size()], tolerance) << i;
  }
}

TEST(Reading, AnAnimationGivesItsFirstFrameOnItsCanvas) {
  std::vector<double> expected(5 * 3 * 4);  // the frame is 2 x 2 at 2, 0
  for (const std::size_t pixel : {2, 3, 7, 8}) {
    for (std::size_t c = 0; c < 4; ++c) expected[pixel * 4 + c] = c < 3 ? static_cast<double>(c + 1) : 255;
  }
  EXPECT_EQ(samplesOf(read(samplePictures() / "webp-animation.webp")), expected);
}

Image ramp(int channels, float step, float start) {
  Image picture(37, 21, channels, Sample::Float);
  for (int i = 0; i < 37 * 21 * channels; ++i) picture.row<float>(0)[i] = start + static_cast<float>(i) * step;
  return picture;
}

TEST(Writing, PngReadsBackInEveryDepth) {
  const TemporaryFolder folder;
  for (const Sample sample : {Sample::Byte, Sample::Word, Sample::Float}) {
    for (int channels = 1; channels <= 4; ++channels) {
      SCOPED_TRACE(std::to_string(channels) + " channels of kind " + std::to_string(static_cast<int>(sample)));
      const Image picture = convert(ramp(channels, 0.00041F, -0.01F), sample);
      writePng(folder / "8.png", picture);
      writePng(folder / "16.png", picture, PngDepth::As16Bit);
      EXPECT_EQ(samplesOf(read(folder / "8.png")), samplesOf(convert(picture, Sample::Byte)));
      EXPECT_EQ(samplesOf(read(folder / "16.png")), samplesOf(convert(picture, Sample::Word)));
    }
  }
}

TEST(Writing, ExrValuesReadBackAsTheyStand) {
  const TemporaryFolder folder;
  for (int channels = 1; channels <= 4; ++channels) {
    SCOPED_TRACE(channels);
    Image picture = ramp(channels, 1.7F, -50);
    picture.row<float>(0)[5] = std::numeric_limits<float>::infinity();
    writeExr(folder / "a.exr", picture);
    // Grey is spread over R, G and B.
    const Image expected = channels <= 2 ? withChannels(picture, channels + 2) : picture;
    EXPECT_EQ(samplesOf(read(folder / "a.exr")), samplesOf(expected));
  }
}

using File = std::vector<std::uint8_t>;

File contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

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
      {refused / "exr-no-colours.exr", "it has neither R, G, B nor Y among its channels (P.x, P.y, P.z)"},
      {refused / "exr-data-outside.exr", "its data lies outside"},
  };
  for (const auto& [file, reason] : cases) {
    const std::string start = "cannot read picture '" + file.string() + "': " + reason;
    EXPECT_EQ(refusalOf<Error>([&file = file] { read(file); }).substr(0, start.size()), start);
  }
}

}  // namespace
}  // namespace quillmere::image::testing
