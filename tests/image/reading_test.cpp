#include <gtest/gtest.h>

#include "image/file_formats.h"
#include "image/scaling.h"
#include "sample_pictures.h"

namespace quillmere::image::testing {

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

}  // namespace quillmere::image::testing
