#include <gtest/gtest.h>

#include <limits>

#include "image/conversion.h"
#include "image/file_formats.h"
#include "sample_pictures.h"

namespace quillmere::image::testing {

namespace {

Image ramp(int channels, float step, float start) {
  Image picture(37, 21, channels, Sample::Float);
  for (int i = 0; i < 37 * 21 * channels; ++i) picture.row<float>(0)[i] = start + static_cast<float>(i) * step;
  return picture;
}

}  // namespace

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

}  // namespace quillmere::image::testing
