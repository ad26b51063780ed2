#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>

#include "image/conversion.h"
#include "image/cryptomatte.h"
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

// What the IDAT chunks hold together; checks every chunk's checksum.
File packedPixels(const File& png) {
  File packed;
  const auto number = [&](std::size_t at) {
    return std::uint32_t{png[at]} << 24U | std::uint32_t{png[at + 1]} << 16U | std::uint32_t{png[at + 2]} << 8U |
           png[at + 3];
  };
  for (std::size_t at = 8; at < png.size();) {
    const std::uint32_t size = number(at);
    EXPECT_EQ(number(at + 8 + size), crc32(0, &png[at + 4], size + 4));
    if (std::equal(&png[at + 4], &png[at + 8], "IDAT")) packed.insert(packed.end(), &png[at + 8], &png[at + 8 + size]);
    at += 12 + size;
  }
  return packed;
}

// Of many strips, one, and rows that are strips by themselves.
TEST(Writing, PngsPackedInStripsAreOneWholeStream) {
  const TemporaryFolder folder;
  std::mt19937 random(3);
  for (const auto& [width, height] : {std::pair(3001, 1201), {1, 1}, {1, 700}, {16000, 90}}) {
    Image picture(width, height, 3, Sample::Word);
    std::generate_n(picture.row<std::uint16_t>(0), width * height * 3, [&, i = 0U]() mutable {
      return static_cast<std::uint16_t>(++i % 5000 < 2500 ? i / 977 : random());
    });
    writePng(folder / "a.png", picture, PngDepth::As16Bit);
    const File packed = packedPixels(contentOf(folder / "a.png"));
    File rows(static_cast<std::size_t>(height) * (6U * static_cast<std::size_t>(width) + 1));
    uLongf size = rows.size();
    EXPECT_EQ(uncompress(rows.data(), &size, packed.data(), packed.size()), Z_OK) << width;  // its checksum, too
    EXPECT_EQ(size, rows.size()) << width;
    EXPECT_EQ(samplesOf(read(folder / "a.png")), samplesOf(picture)) << width;
  }
}

TEST(Writing, ExrValuesReadBackAsTheyStand) {
  const TemporaryFolder folder;
  for (int channels = 1; channels <= 4; ++channels) {
    SCOPED_TRACE(channels);
    Image picture = ramp(channels, 1.7F, -50);
    picture.row<float>(0)[5] = std::numeric_limits<float>::infinity();
    writeExr(folder / "a.exr", picture, ExrEncoding::Srgb);
    // Grey is spread over R, G and B.
    const Image expected = channels <= 2 ? withChannels(picture, channels + 2) : picture;
    EXPECT_EQ(samplesOf(read(folder / "a.exr")), samplesOf(expected));
  }
}

TEST(Writing, LinearExrHoldsTheLightOfStoredValues) {
  struct Row {
    float stored, light;  // of IEC 61966-2-1
  };
  const TemporaryFolder folder;
  for (const Row& row : {Row{0, 0}, {0.04F, 0.0030960F}, {0.5F, 0.2140411F}, {1, 1}, {-0.5F, -0.2140411F}}) {
    for (const float alpha : {1.0F, 0.25F}) {
      Image picture(1, 1, 4, Sample::Float);
      std::fill_n(picture.row<float>(0), 3, row.stored);
      picture.row<float>(0)[3] = alpha;
      writeExr(folder / "a.exr", picture);
      const Image written = read(folder / "a.exr");
      EXPECT_NEAR(written.row<float>(0)[1], row.light * alpha, 1e-6F) << row.stored;
      EXPECT_EQ(written.row<float>(0)[3], alpha);
    }
  }
}

TEST(Writing, FilesTellTheColourSpaceOfTheirValues) {
  const TemporaryFolder folder;
  const Image picture = ramp(3, 0.0004F, 0);
  writePng(folder / "a.png", picture);
  writeExr(folder / "linear.exr", picture);
  writeExr(folder / "srgb.exr", picture, ExrEncoding::Srgb);
  const std::pair<const char*, const char*> rows[] = {{"a.png", "sRGB"},
                                                      {"a.png", "gAMA"},
                                                      {"a.png", "cHRM"},
                                                      {"linear.exr", "chromaticities"},
                                                      {"srgb.exr", "chromaticities"},
                                                      {"linear.exr", "lin_rec709_scene"},
                                                      {"srgb.exr", "srgb_rec709_display"}};
  for (const auto& [file, word] : rows) EXPECT_NE(folder.contentOf(file).find(word), std::string::npos) << file << word;
}

// Two pixels of 2 x 1 as they stand, and ten equal ones in four runs.
TEST(Reading, HdrPicturesGiveTheirLight) {
  const TemporaryFolder folder;
  const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X ";
  const std::string pixel("\x40\x80\x00\x82", 4);
  const std::string run("\x02\x02\x00\x0A\x8A\x40\x8A\x80\x8A\x00\x8A\x82", 12);
  for (const auto& [width, content] : {std::pair(2, head + "2\n" + pixel + pixel), {10, head + "10\n" + run}}) {
    const Image picture = read(folder.write("a.hdr", content));
    ASSERT_EQ(picture.width(), width);
    const float* last = picture.pixel<float>(width - 1, 0);
    EXPECT_NEAR(last[0], 1.0F, 0.02F);
    EXPECT_NEAR(last[1], 2.0F, 0.02F);
    EXPECT_LT(last[2], 0.02F);
    for (const std::string& damaged : {content.substr(0, content.size() - 1), head + "16000\n" + pixel}) {
      EXPECT_THROW(read(folder.write("b.hdr", damaged)), Error);
    }
  }
}

TEST(Mattes, AreNamedAsCompositorsHashNames) {
  struct Row {
    const char* name;
    std::uint32_t hash, id;
  };
  for (const Row& row : {Row{"test", 0xba6bd213, 0xba6bd213}, Row{"Hello, world!", 0xc0363e43, 0xc0363e43},
                         Row{"The quick brown fox jumps over the lazy dog", 0x2e4ff723, 0x2e4ff723},
                         Row{"Tree 31", 0xffcdcf33, 0xff4dcf33}, Row{"Leaf102", 0x8057d7b2, 0x80d7d7b2}}) {
    EXPECT_EQ(murmurHash(row.name), row.hash) << row.name;
    EXPECT_EQ(matteId(row.name), row.id) << row.name;
  }
}

}  // namespace quillmere::image::testing
