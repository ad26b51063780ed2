#include "render_status.h"

#include "room.h"

namespace quillmere {
namespace {

TEST_F(Room, AStatusIsStoredAndShownWhereThereIsAPlaceForIt) {
  host::RenderCall call(nullptr, std::nullopt, noBreak);
  cinema::BaseContainer settings;
  const auto report = [&](cinema::VideoPostStruct* vps, cinema::BaseContainer* stored, const char* text,
                          double progress) {
    UpdateRenderStatus(vps, stored, cinema::String(text), BusyIndicator::Off, progress);
    return ToUtf8(settings.GetString(QUILLMERE_STATUS));
  };
  EXPECT_EQ(report(nullptr, &settings, "no call", 1), "no call");
  EXPECT_EQ(report(&call.at(cinema::VIDEOPOSTCALL::RENDER, false), &settings, "no volume data", 1), "no volume data");
  EXPECT_EQ(told.lines, Lines());
  EXPECT_EQ(report(&call.at(cinema::VIDEOPOSTCALL::RENDER, true), nullptr, "shown", 0), "no volume data");
  EXPECT_EQ(told.lines, (Lines{"text shown", "idle", "bar 0"}));
}

}  // namespace
}  // namespace quillmere
