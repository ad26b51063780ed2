#include "bridge/helper_process.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "call_log.h"
#include "host_case.h"

namespace quillmere {
namespace {

using cinema::Filename;

struct HelperProcess : EffectCase {
  HelperProcess() { callLog.shellBecomesHelper = true; }
  // Runs the lines as the helper, which gets its two files' names, and waits for it.
  bool run(const std::string& lines, host::BreakTest userBreak = noBreak) {
    write(script, lines + "\n");
    process = LaunchRenderHelper(status, Filename("/r/`\"é'\\"));
    host::RenderCall call(document.get(), std::nullopt, std::move(userBreak));
    callLog.ofProcesses.clear();
    return WaitForRenderHelper(process, status, &call.at(cinema::VIDEOPOSTCALL::RENDER, true), &settings());
  }
  // What the supervision asked of the system in its last round.
  static Lines lastRound() {
    const Lines& all = callLog.ofProcesses;
    std::size_t at = 0;
    while (at + 1 < all.size() && all[at] == "poll" && all[at + 1] == "pause 120") at += 2;
    return {all.begin() + long(at), all.end()};
  }
  bool reaped() const { return waitpid(process, nullptr, WNOHANG) == -1 && errno == ECHILD; }

  const std::filesystem::path log = folder / "it's a $log";
  const Filename status = host::filenameOf(log);
  int process = -1;
};

TEST_F(HelperProcess, IsBelievedOnlyWhenItEndsByItselfWithStatusZero) {
  for (const auto& [lines, believed] :
       std::vector<std::pair<const char*, bool>>{{"exit 0", true}, {"exit 3", false}, {"kill -9 $$", false}}) {
    EXPECT_EQ(run(lines), believed) << lines;
    EXPECT_TRUE(reaped()) << lines;
  }
  EXPECT_TRUE(told.lines.empty());
  setenv("PATH", folder.path().c_str(), 1);
  EXPECT_FALSE(run("exit 0")) << "there is no python3";
}

TEST_F(HelperProcess, HasEachNewMessageReportedOnce) {
  EXPECT_TRUE(run(R"(for m in A A '' B; do printf '{"phase":"x","message":"%s"}' "$m" > "$1"; round; done)",
                  [&] { return polls(); }));
  EXPECT_THAT(told.lines, testing::ElementsAre("text A", "busy", "text B", "busy"));
  EXPECT_EQ(lastRound(), Lines{"poll"});
}

TEST_F(HelperProcess, IsToldToEndOnceAndReapedOnABreakEvenIfItWouldSucceed) {
  callLog.interruptions = 2;
  EXPECT_FALSE(run(R"(trap 'echo "ended $2" > "$1"; exit 0' TERM; echo ready > "$1"; while :; do sleep 0.01; done)",
                   [&] { return contentOf(log) == "ready\n"; }));
  EXPECT_EQ(lastRound(), (Lines{"kill 15", "reap", "reap", "reap"}));
  EXPECT_TRUE(reaped());
  EXPECT_EQ(contentOf(log), "ended /r/`\"é'\\\n");
  EXPECT_THAT(told.lines, testing::ElementsAre("text Quillmere render cancelled", "idle"));
}

TEST_F(HelperProcess, IsNotWaitedForWhenThereIsNone) {
  write(log, R"({"message":"stale"})");
  remove(script);
  EXPECT_EQ(LaunchRenderHelper(status, status), -1);
  for (const int none : {-1, 0}) EXPECT_FALSE(WaitForRenderHelper(none, status, nullptr, &settings()));
  EXPECT_EQ(text(QUILLMERE_STATUS), "Idle");
  EXPECT_FALSE(WaitForRenderHelper(getpid(), status, nullptr, nullptr)) << "no child of this process";
}

}  // namespace
}  // namespace quillmere
