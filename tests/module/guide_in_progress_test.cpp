#include <gmock/gmock.h>

#include <optional>
#include <thread>

#include "core/atom.h"
#include "core/substitutes.h"
#include "image/file_formats.h"
#include "room.h"

// A host that renders the document for a guide, and with it the effect that has asked for the guide.
namespace quillmere {
namespace {

using namespace cinema;

struct GuideInProgress : EffectRoom {
  GuideInProgress() {
    const auto picture = (folder / "picture.png").string();
    image::writePng(picture, image::Image(5, 4, 4, image::Sample::Byte), image::PngDepth::As8Bit);
    write(script, "echo run >> '" + (folder / "runs").string() + R"('; printf '{"ok": true, "first_output": ")" +
                      picture + "\"}' > \"$2\"\n");
    settings().SetInt32(QUILLMERE_GUIDE_MODE, 1);
  }
  RENDERRESULT execute(BaseVideoPost& effect, bool open) {
    host::RenderCall call(document.get(), std::nullopt, noBreak);
    NodeData& data = *HostSide<C4DAtom>::parts(effect).data;
    return static_cast<VideoPostData&>(data).Execute(&effect, &call.at(VIDEOPOSTCALL::RENDER, open));
  }
  std::string runs() const { return contentOf(folder / "runs"); }
};

TEST_F(GuideInProgress, CallsFromTheRenderOfAGuideDoNothingButSaySo) {
  ASSERT_EQ(execute(*node, true), RENDERRESULT::OK);
  ASSERT_EQ(runs(), "run\n");
  BaseVideoPost& other = document->addVideoPost(1060500);
  int depth = 0;
  {
    const host::Substitute renders(host::operations().renderDocument, [&](auto&&...) {
      if (depth++ > 0) return RENDERRESULT::FAILED;
      told.lines.clear();
      const BaseContainer before = settings();
      for (const bool open : {true, false}) EXPECT_EQ(execute(*node, open), RENDERRESULT::OK);
      EXPECT_EQ(told.lines,
                Lines{"console [Quillmere Renderer] Passed over a render call from the render of the guide"});
      EXPECT_TRUE(settings() == before);
      std::thread([&] { execute(other, true); }).join();
      return RENDERRESULT::FAILED;
    });
    EXPECT_EQ(execute(*node, true), RENDERRESULT::FAILED);
  }
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(runs(), "run\n");
  EXPECT_EQ(ToUtf8(other.GetDataInstance()->GetString(QUILLMERE_STATUS)), "No workflow selected") << "a thread apart";

  told.lines.clear();
  EXPECT_EQ(execute(*node, false), RENDERRESULT::OK);
  EXPECT_EQ(told.lines, Lines{"viewer 5"}) << "the first call's picture, kept";
  EXPECT_EQ(execute(*node, true), RENDERRESULT::OK);
  EXPECT_EQ(runs(), "run\nrun\n") << "also after a guide that failed";
}

}  // namespace
}  // namespace quillmere
