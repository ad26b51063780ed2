#include "api/frame.h"

#include <climits>
#include <cmath>
#include <vector>

#include "drendersettings.h"
#include "open_scene.h"
#include "refusal.h"

namespace quillmere::test {
namespace {

using namespace cinema;
using Log = std::vector<std::string>;

constexpr int kEarly = 1000001, kLate = 1000002, kOther = 1000003, kRefusing = 1000004, kTwin = 1000005;

using Act = std::function<RENDERRESULT(VideoPostStruct& call)>;

// What every scripted effect writes down and does.
struct Script {
  Log calls;
  Act act = [](VideoPostStruct&) { return RENDERRESULT::OK; };
} script;

void actAt(VIDEOPOSTCALL level, bool open, Act act) {
  script.calls.clear();
  script.act = [=](VideoPostStruct& call) {
    return call.vp == level && call.open == open ? act(call) : RENDERRESULT::OK;
  };
}

class ScriptedEffect : public cinema::VideoPostData {
 public:
  static cinema::NodeData* Alloc() { return NewObjClear(ScriptedEffect); }
  cinema::Bool Init(cinema::GeListNode* node, cinema::Bool isCloneInit) override {
    return Get() == node && !isCloneInit && node->GetType() != kRefusing;
  }
  RENDERRESULT Execute(BaseVideoPost* node, VideoPostStruct* call) override {
    const std::string id = std::to_string(node->GetType() - 1000000);
    script.calls.push_back(id + (call->open ? "+" : "-") + std::to_string(static_cast<int>(call->vp)));
    return script.act(*call);
  }
  cinema::Bool RenderEngineCheck(const BaseVideoPost* node, cinema::Int32 engine) const override {
    return node->GetType() != kOther || engine == RDATA_RENDERENGINE_PHYSICAL;
  }
};

struct FrameCalls : OpenScene {
  void SetUp() override {
    script = {};
    for (const auto& [id, priority] : {std::pair{kEarly, 5}, {kLate, -1}, {kOther, 0}, {kRefusing, 0}, {kTwin, -1}}) {
      ASSERT_TRUE(cinema::RegisterVideoPostPlugin(id, cinema::String("Effect"), 0, ScriptedEffect::Alloc,
                                                  cinema::String(), 0, priority));
    }
    document.setSize(6, 4);
  }
  host::Frame render(const host::BreakTest& userBreak = {}) { return host::renderFrame(document, userBreak, {}); }
};

TEST_F(FrameCalls, OpenAndCloseInPairsEarlierEffectsFirst) {
  document.addVideoPost(kLate);
  document.addVideoPost(kEarly);
  document.addVideoPost(kOther);
  document.addVideoPost(kTwin);  // of the same priority as the first
  EXPECT_EQ(render().result, RENDERRESULT::OK);
  Log expected;
  for (const char* const level : {"+1", "+2", "+3", "+4", "+5", "-5", "-4", "-3", "-2", "-1"}) {
    for (const char* const effect : {"1", "2", "5"}) expected.push_back(std::string(effect) + level);
  }
  EXPECT_EQ(script.calls, expected);
  script.calls.clear();
  api.GetActiveRenderData()->GetDataInstanceRef().SetInt32(RDATA_RENDERENGINE, RDATA_RENDERENGINE_PHYSICAL);
  render();
  EXPECT_EQ(script.calls.size(), 40U);
}

TEST_F(FrameCalls, AFailureOpensNothingMoreAndClosesWhatIsOpen) {
  document.addVideoPost(kEarly);
  document.addVideoPost(kLate);
  for (const auto& [failing, calls] : std::vector<std::pair<VIDEOPOSTCALL, Log>>{
           {VIDEOPOSTCALL::FRAMESEQUENCE, {"1+1", "1-1"}},
           {VIDEOPOSTCALL::SUBFRAME, {"1+1", "2+1", "1+2", "2+2", "1+3", "1-3", "1-2", "2-2", "1-1", "2-1"}}}) {
    script.calls.clear();
    script.act = [failing = failing](VideoPostStruct& call) {
      EXPECT_EQ(*call.error, call.open ? RENDERRESULT::OK : RENDERRESULT::PROJECTNOTFOUND);
      if (!call.open) return RENDERRESULT::FAILED;  // comes too late to be the frame's result
      return call.vp == failing ? RENDERRESULT::PROJECTNOTFOUND : RENDERRESULT::OK;
    };
    const host::Frame frame = render();
    EXPECT_EQ(frame.result, RENDERRESULT::PROJECTNOTFOUND);
    EXPECT_TRUE(frame.picture.empty());
    EXPECT_EQ(script.calls, calls);
  }
}

TEST_F(FrameCalls, ABreakEndsTheFrameAndOverridesTheFailureItCaused) {
  document.addVideoPost(kEarly);
  bool broken = false;
  const auto breakingAt = [&](VIDEOPOSTCALL level, bool open, RENDERRESULT result) {
    broken = false;
    actAt(level, open, [&broken, result](VideoPostStruct& call) {
      broken = true;
      return call.thread->TestBreak() ? result : RENDERRESULT::OK;
    });
    return render([&] { return broken; }).result;
  };
  EXPECT_EQ(breakingAt(VIDEOPOSTCALL::SUBFRAME, true, RENDERRESULT::FAILED), RENDERRESULT::USERBREAK);
  EXPECT_EQ(script.calls, (Log{"1+1", "1+2", "1+3", "1-3", "1-2", "1-1"}));
  EXPECT_EQ(breakingAt(VIDEOPOSTCALL::FRAMESEQUENCE, true, RENDERRESULT::OK), RENDERRESULT::USERBREAK);
  EXPECT_EQ(script.calls, (Log{"1+1", "1-1"}));
  // When all calls are made, what is still to be drawn is broken off.
  EXPECT_EQ(breakingAt(VIDEOPOSTCALL::FRAMESEQUENCE, false, RENDERRESULT::OK), RENDERRESULT::USERBREAK);
}

TEST_F(FrameCalls, CarryWhatTheLevelMayUse) {
  document.addVideoPost(kEarly);
  document.setFps(25);
  document.setFrame(10);
  script.act = [&](VideoPostStruct& call) {
    const bool render = call.vp == VIDEOPOSTCALL::RENDER, inner = call.vp == VIDEOPOSTCALL::INNER;
    EXPECT_EQ(call.vd != nullptr, inner || (render && call.open));
    EXPECT_EQ(call.render != nullptr, inner || render);
    EXPECT_EQ(call.doc, &api);
    EXPECT_EQ(call.time.GetFrame(call.fps), 10);
    return RENDERRESULT::OK;
  };
  render();
}

TEST_F(FrameCalls, ThePictureIsTheEffectsLinesOverTheHostsDrawing) {
  EXPECT_GT(render().picture.row<float>(2)[0], 0.5F);  // the red wall, without any effect
  document.addVideoPost(kEarly);
  document.setFrame(1);
  for (const int lines : {4, 2}) {
    const int poses = scene->poses;
    actAt(VIDEOPOSTCALL::RENDER, false, [&](VideoPostStruct& call) {
      std::vector<float> black(6 * 4);
      const cinema::VPBuffer* buffer = call.render->GetBuffer(VPBUFFER_RGBA, NOTOK);
      for (int y = 0; y < lines; ++y) EXPECT_TRUE(buffer->SetLine(0, y, 6, black.data(), 32, false));
      return RENDERRESULT::OK;
    });
    const host::Frame frame = render();
    for (int y = 0; y < 4; ++y) EXPECT_EQ(frame.picture.row<float>(y)[0] > 0.5F, y >= lines);
    EXPECT_EQ(scene->poses > poses, lines < 4);
    EXPECT_EQ(frame.lines == host::Frame::Lines::OfHost, lines < 4);
  }
}

TEST_F(FrameCalls, StatusReachesTheBarInOrderAndInRange) {
  document.addVideoPost(kEarly);
  actAt(VIDEOPOSTCALL::RENDER, true, [](VideoPostStruct& call) {
    call.vd->StatusSetText(cinema::String("Zeichnung läuft"));
    call.vd->StatusSetSpinMode(true);
    for (const double fraction : {-1.0, 0.5, double(NAN), 7.0}) call.vd->StatusSetBar(fraction);
    return RENDERRESULT::OK;
  });
  render();
  EXPECT_EQ(events.told, (Log{"text Zeichnung läuft", "spin on", "bar 0.000000", "bar 0.500000", "bar 1.000000"}));
}

TEST_F(FrameCalls, WhatCannotBeUsedOrDrawnSaysWhy) {
  for (const auto& [id, reason] : {std::pair{42, "no module registered it"}, {kRefusing, "refused to initialise"}}) {
    const std::string told = refusalOf<Error>([&, effect = id] { document.addVideoPost(effect); });
    EXPECT_NE(told.find(reason), std::string::npos) << id << ": " << told;
  }
  api.SetSceneCamera(nullptr);
  EXPECT_EQ(render().result, RENDERRESULT::FAILED);
  api.GetActiveRenderData()->GetDataInstanceRef().SetInt32(RDATA_XRES, 0);
  EXPECT_EQ(render().result, RENDERRESULT::FAILED);
  ASSERT_EQ(events.told.size(), 2U);
  EXPECT_NE(events.told[0].find("no camera"), std::string::npos);
  EXPECT_EQ(script.calls, Log{});
}

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
