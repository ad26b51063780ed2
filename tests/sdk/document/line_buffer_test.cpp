#include <climits>
#include <cmath>
#include <vector>

#include "api/frame.h"
#include "open_scene.h"

namespace quillmere::test {
namespace {

using cinema::Int32;
using cinema::VIDEOPOSTCALL;
using cinema::VPBuffer;

VPBuffer* bufferOf(host::RenderCall& call) {
  return call.at(VIDEOPOSTCALL::RENDER, true).render->GetBuffer(VPBUFFER_RGBA, NOTOK);
}

struct Lines : OpenScene {
  host::RenderCall call{&document, host::RenderCall::Buffer{8, 4}, {}};
  VPBuffer* buffer = bufferOf(call);
  std::vector<float> line = std::vector<float>(8 * 4, 0.25F);

  bool write(int x, int y, int count) { return buffer->SetLine(x, y, count, line.data(), 32, false); }
  bool read(int x, int y, int count) { return buffer->GetLine(x, y, count, line.data(), 32, false); }
};

TEST_F(Lines, UnwrittenOnesAndPartsShowTheDrawingMadeOnce) {
  ASSERT_TRUE(write(0, 0, 8) && write(4, 2, 4));
  ASSERT_TRUE(read(0, 1, 8));
  EXPECT_GT(line[0], 0.5F);  // the red wall
  EXPECT_EQ(line[3], 1.0F);
  const host::Frame frame = call.take();
  EXPECT_EQ(scene->poses, 1);
  EXPECT_EQ(frame.picture.row<float>(0)[0], 0.25F);
  EXPECT_GT(frame.picture.row<float>(2)[3 * 4], 0.5F);
  EXPECT_EQ(frame.picture.row<float>(2)[4 * 4], 0.25F);
  EXPECT_GT(frame.picture.row<float>(3)[0], 0.5F);
}

TEST_F(Lines, OutsideOfTheBufferAreRefused) {
  const struct {
    int x, y, count;
  } rows[] = {
      {-1, 0, 8}, {0, -1, 8}, {0, 4, 8},       {8, 0, 1},       {1, 0, 8},
      {0, 0, 9},  {0, 0, 0},  {INT_MAX, 0, 8}, {7, 0, INT_MAX}, {INT_MIN, INT_MIN, INT_MIN},
  };
  for (const auto& [x, y, count] : rows) {
    SCOPED_TRACE(testing::Message() << x << ", " << y << ", " << count);
    EXPECT_FALSE(write(x, y, count));
    EXPECT_FALSE(read(x, y, count));
  }
  EXPECT_FALSE(buffer->SetLine(0, 0, 8, nullptr, 32, false));
  EXPECT_FALSE(buffer->SetLine(0, 0, 8, line.data(), 24, false));
  EXPECT_EQ(scene->poses, 0);
}

TEST(LineDepths, ConvertBothWaysAndClamp) {
  host::RenderCall call(nullptr, host::RenderCall::Buffer{2, 1, 3}, {});
  VPBuffer* buffer = bufferOf(call);
  EXPECT_EQ(buffer->GetCpp(), 3);
  std::vector<std::uint16_t> words{0, 13107, 65535, 32896, 771, 128};
  std::vector<std::uint8_t> bytes(6);
  std::vector<float> floats(6);
  ASSERT_TRUE(buffer->SetLine(0, 0, 2, words.data(), 16, false));
  ASSERT_TRUE(buffer->GetLine(0, 0, 2, bytes.data(), 8, false));
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 51, 255, 128, 3, 0}));
  ASSERT_TRUE(buffer->SetLine(0, 0, 2, bytes.data(), 8, true));
  ASSERT_TRUE(buffer->GetLine(0, 0, 2, floats.data(), 32, false));
  EXPECT_FLOAT_EQ(floats[1], 0.2F);
  floats = {-1.0F, 7.5F, NAN, INFINITY, 0.5F, 0.0F};
  ASSERT_TRUE(buffer->SetLine(0, 0, 2, floats.data(), 32, false));
  ASSERT_TRUE(buffer->GetLine(0, 0, 2, words.data(), 16, false));
  EXPECT_EQ(words, (std::vector<std::uint16_t>{0, 65535, 0, 65535, 32768, 0}));
  EXPECT_EQ(call.take().picture.row<float>(0)[1], 7.5F);
}

}  // namespace
}  // namespace quillmere::test
