#include "process/child_run.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <tuple>

#include "process/process_tree.h"

namespace quillmere::app {
namespace {

using namespace std::chrono_literals;

bool nothingIsLeft() {
  return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD && descendants(::getpid()).empty();
}

TEST(ChildRun, TellsHowTheChildEnded) {
  using End = ChildResult::End;
  const std::tuple<const char*, End, int, const char*> rows[] = {
      {"echo out; echo err >&2; exit 3", End::Exited, 3, "out\n"},
      {"kill -9 $$", End::Killed, -1, ""},
      {"echo a; sleep 60; :", End::TimedOut, -1, "a\n"},
      {"exec >&- 2>&-; sleep 60; :", End::TimedOut, -1, ""},
  };
  for (const auto& [script, end, status, output] : rows) {
    SCOPED_TRACE(script);
    const ChildResult result = runChild({"sh", "-c", script}, end == End::TimedOut ? 300ms : 20000ms);
    EXPECT_EQ(result.end, end);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.output, output);
    EXPECT_TRUE(nothingIsLeft());
  }
  const ChildResult missing = runChild({"no-such-program-anywhere"}, 1s);
  EXPECT_EQ(missing.end, End::NotStarted);
  EXPECT_NE(missing.errors, "");
}

}  // namespace
}  // namespace quillmere::app
